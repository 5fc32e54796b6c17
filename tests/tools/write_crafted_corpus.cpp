// Writes the crafted keyed archives into a fuzz corpus folder, so the fuzzer
// and the corpus test start from shapes that once made decoding slow or
// endless: shared nesting, cycles, absurd counts, deep nesting, XML forms.
#include "CraftedArchives.h"
#include "DamagedArchives.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: write_crafted_corpus FOLDER\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    int written = 0;
    auto write = [&](const QString& name, const QByteArray& bytes) {
        if (!writeFile(folder.filePath(name), bytes)) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(folder.filePath(name)));
            std::exit(1);
        }
        ++written;
    };

    for (const int levels : { 24, 40, 64 }) {
        write(QStringLiteral("shared-nesting-%1.bplist").arg(levels), CraftedArchives::sharedNesting(levels));
        write(QStringLiteral("shared-nesting-%1.qldb").arg(levels),
            CraftedArchives::database(QStringLiteral("Shared nesting %1").arg(levels),
                [levels](RawKeyedArchive& archive) { return CraftedArchives::addSharedNesting(archive, levels); }));
    }
    write(QStringLiteral("shared-nesting-24.xml"), CraftedArchives::xmlSharedNesting(24));
    write(QStringLiteral("deep-256.bplist"), CraftedArchives::deepNesting(256));
    write(QStringLiteral("group-listed-twice.qldb"), CraftedArchives::database(QStringLiteral("Twice"), {}, 2));
    write(QStringLiteral("uids-sharing-one-record.bplist"), CraftedArchives::uidsSharingOneRecord(64, 64));
    write(QStringLiteral("records-sharing-one-list.bplist"), CraftedArchives::recordsSharingOneList(64, 64));
    write(QStringLiteral("dictionaries-sharing-lists.bplist"), CraftedArchives::dictionariesSharingTheirLists(32, 32));
    write(QStringLiteral("long-key-everywhere.bplist"), CraftedArchives::longKeyInManyRecords(32, 256));
    write(QStringLiteral("one-class-description.bplist"), CraftedArchives::classesSharingOneDescription(64, 64));
    for (const auto& cases : { DamagedArchives::cycles(), DamagedArchives::propertyListLoops(),
             DamagedArchives::absurdSizes(), DamagedArchives::xmlCases() }) {
        for (const DamagedArchives::Case& c : cases)
            write(c.name
                    + (c.name.startsWith(QLatin1String("xml-")) ? QStringLiteral(".xml") : QStringLiteral(".bplist")),
                c.bytes);
    }
    std::printf("%d files written to %s\n", written, qPrintable(folder.path()));
    return 0;
}
