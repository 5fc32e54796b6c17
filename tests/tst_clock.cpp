#include "model/Clock.h"

#include <QTest>

class TestClock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void referenceDatesRoundTrip_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("utc");
        QTest::newRow("epoch") << 0.0 << "2001-01-01T00:00:00.000Z";
        QTest::newRow("fraction") << 589000000.75 << "2019-09-01T03:06:40.750Z";
        QTest::newRow("before epoch") << -86400.5 << "2000-12-30T23:59:59.500Z";
    }
    void referenceDatesRoundTrip()
    {
        QFETCH(double, seconds);
        QFETCH(QString, utc);
        const QDateTime moment = Clock::toDateTime(seconds);
        QCOMPARE(moment.toUTC().toString(Qt::ISODateWithMs), utc);
        QCOMPARE(Clock::fromDateTime(moment), seconds);
    }

    void fixedTimeReplacesTheSystemClock()
    {
        const QDateTime moment(QDate(2020, 9, 24), QTime(12, 0));
        Clock::setFixedTime(moment);
        QCOMPARE(Clock::currentDateTime(), moment);
        Clock::resetToSystemTime();
        QVERIFY(qAbs(Clock::currentDateTime().secsTo(QDateTime::currentDateTime())) < 5);
    }
};

QTEST_GUILESS_MAIN(TestClock)
#include "tst_clock.moc"
