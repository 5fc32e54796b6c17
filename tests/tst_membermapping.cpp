#include "TestSupport.h"
#include "store/Fingerprint.h"
#include "store/IntegrityValidator.h"
#include "store/MemberMapping.h"
#include "store/PackageMember.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <atomic>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {
double peakRssMiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

QByteArray pattern(qsizetype size)
{
    QByteArray bytes(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char(i * 7 + i / 4096);
    return bytes;
}
} // namespace

/// Archived members are read through memory maps. A member that changes,
/// shrinks or is huge while it is read must give a verdict, never a crash.
class TestMemberMapping : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

private Q_SLOTS:
    void kindsOfFiles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("status");
        // clang-format off
        QTest::newRow("regular file") << "file"    << int(MemberMapping::Status::Loaded);
        QTest::newRow("empty file")   << "empty"   << int(MemberMapping::Status::Unreadable);
        QTest::newRow("folder")       << "folder"  << int(MemberMapping::Status::Unreadable);
        QTest::newRow("pipe")         << "pipe"    << int(MemberMapping::Status::Unreadable);
        QTest::newRow("no file")      << "missing" << int(MemberMapping::Status::Missing);
        QTest::newRow("empty path")   << "none"    << int(MemberMapping::Status::Missing);
        // clang-format on
    }
    void kindsOfFiles()
    {
        QFETCH(QString, kind);
        QFETCH(int, status);
        QString path = m_home.freshPath(kind);
        if (kind == QLatin1String("file"))
            QVERIFY(writeFile(path, "member bytes"));
        else if (kind == QLatin1String("empty"))
            QVERIFY(writeFile(path, QByteArray()));
        else if (kind == QLatin1String("folder"))
            QVERIFY(QDir().mkpath(path));
        else if (kind == QLatin1String("pipe"))
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0); // reading it would block
        else if (kind == QLatin1String("none"))
            path.clear();
        const MemberMapping mapping(path);
        QCOMPARE(int(mapping.status()), status);
        QCOMPARE(
            mapping.bytes(), status == int(MemberMapping::Status::Loaded) ? QByteArray("member bytes") : QByteArray());
    }

    /// A truncation while the bytes are mapped would otherwise end the
    /// process with SIGBUS on the first page past the new end.
    void aFileCutShortReadsAsZeros()
    {
        const QString path = m_home.freshPath(QStringLiteral("shrinking"));
        const QByteArray original = pattern(1024 * 1024);
        QVERIFY(writeFile(path, original));
        MemberMapping mapping(path);
        QCOMPARE(mapping.status(), MemberMapping::Status::Loaded);
        const QByteArray bytes = mapping.bytes();
        QCOMPARE(bytes.left(100), original.left(100));
        QVERIFY(!mapping.wasCutShort());
        QVERIFY(QFile::resize(path, 8192));
        QCOMPARE(bytes.mid(0, 8192), original.left(8192));
        QCOMPARE(bytes.mid(500000, 16), QByteArray(16, '\0'));
        QVERIFY(mapping.wasCutShort());
        QCOMPARE(bytes.right(16), QByteArray(16, '\0'));
        // Giving back pages read is harmless, whatever they hold now.
        mapping.release(0, bytes.size());
        QCOMPARE(bytes.left(100), original.left(100));
    }

    /// Members rewritten, cut short and restored while other threads check
    /// and read them: each verdict is whatever was read, never a crash.
    void membersChangingWhileTheyAreChecked()
    {
        const QString path = m_home.freshPath(QStringLiteral("changing"));
        const QByteArray data = pattern(24 * 1024 * 1024);
        const QByteArray member = PackageMember::encode(data, "png", "icon");
        const QString salt = Fingerprint::salt();
        const QString fingerprint = Fingerprint::saltedFingerprint(data, salt);
        const auto check = [&] {
            return IntegrityValidator::checkMember(QFileInfo(path).path(), QFileInfo(path).fileName(), fingerprint, salt);
        };
        QVERIFY(writeFile(path, member));
        QCOMPARE(check(), IntegrityValidator::MemberState::Intact);

        std::atomic<bool> done { false };
        std::thread writer([&] {
            QByteArray changed = member;
            for (int round = 0; !done.load(); ++round) {
                QFile file(path);
                switch (round % 3) {
                case 0: // cut short, then written again in full
                    if (file.open(QIODevice::ReadWrite | QIODevice::Truncate))
                        file.write(member);
                    break;
                case 1: // a byte of the data changed in place
                    changed[member.size() / 2] = char(round);
                    if (file.open(QIODevice::ReadWrite))
                        file.write(changed);
                    break;
                default:
                    QFile::resize(path, round % 2 ? member.size() / 3 : 0);
                    break;
                }
            }
        });
        QList<IntegrityValidator::MemberState> seen;
        std::thread reader([&] {
            for (int i = 0; i < 20; ++i)
                PackageMember::read(path);
        });
        for (int i = 0; i < 20; ++i)
            seen.append(check());
        reader.join();
        done = true;
        writer.join();
        QCOMPARE(seen.size(), 20);
        QVERIFY(writeFile(path, member));
        QCOMPARE(check(), IntegrityValidator::MemberState::Intact);
    }

    /// A 4 GB member (a sparse file, so the test costs no disk) whose archive
    /// trailer is gone: undecodable, found without reading or holding it.
    void aFourGigabyteMemberIsCorrupted()
    {
        const QString path = m_home.freshPath(QStringLiteral("huge"));
        const QByteArray member = PackageMember::encode(pattern(100000), "png", "icon");
        QVERIFY(writeFile(path, member));
        QVERIFY(QFile::resize(path, qint64(4) * 1000 * 1000 * 1000));
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &info), 0);
        if (qint64(info.st_blocks) * 512 > 64 * 1024 * 1024)
            QSKIP("the file system here does not keep sparse files");
        const double before = peakRssMiB();
        QCOMPARE(IntegrityValidator::checkMember(QFileInfo(path).path(), QFileInfo(path).fileName(),
                     Fingerprint::saltedFingerprint(pattern(100000), Fingerprint::salt()), Fingerprint::salt()),
            IntegrityValidator::MemberState::Undecodable);
        QCOMPARE(PackageMember::read(path).status, PackageMember::Status::Undecodable);
        QVERIFY2(peakRssMiB() - before < 256, qPrintable(QString::number(peakRssMiB() - before)));
        QVERIFY(QFile::remove(path));
    }
};

QTEST_GUILESS_MAIN(TestMemberMapping)
#include "tst_membermapping.moc"
