// SPDX-License-Identifier: GPL-3.0-or-later
// The cursor read-out texts.
#include "views/ReadoutText.h"

#include "shared/Picture.h"
#include <QLocale>

#include <QtTest>

class TestReadout : public QObject {
    Q_OBJECT
private slots:
    void texts_data();
    void texts();
    void getTimeVlu_data();
    void getTimeVlu();
    void commaLocale();
};

void TestReadout::texts_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("millivolts") << "V" << 0.25 << "250.0mV";
    QTest::newRow("volts") << "V" << 1.5 << "1.5V";
    QTest::newRow("negative goes millivolts") << "V" << -2.0 << "-2000.0mV";
    QTest::newRow("seconds") << "T" << 1.5 << "1.50s";
    QTest::newRow("microseconds") << "T" << 1.25e-5 << "12.50us";
    QTest::newRow("milliseconds") << "T" << 0.001 << "1.00ms";
    QTest::newRow("picoseconds") << "T" << 2e-12 << "2.00ps";
    QTest::newRow("zero") << "T" << 0.0 << "0.000s";
    QTest::newRow("below a picosecond") << "T" << 5e-13 << "";
    QTest::newRow("kilohertz") << "F" << 1500.0 << "1.50KHz";
    QTest::newRow("hertz") << "F" << 50.0 << "50.00Hz";
    QTest::newRow("gigahertz") << "F" << 2.5e9 << "2.50GHz";
    QTest::newRow("megahertz") << "F" << 1e6 << "1.00MHz";
}

void TestReadout::texts() {
    QFETCH(QString, kind);
    QFETCH(double, value);
    QFETCH(QString, text);
    const QString got = kind == "V"   ? ConvertVoltToStr(value)
                        : kind == "T" ? ConvertTimeToStr(value)
                                      : ConvertFreqToStr(value);
    QCOMPARE(got, ShownForm(text)); // the display's decimal sign
}

void TestReadout::getTimeVlu_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value");
    QTest::newRow("micro") << "10.0us" << 1e-5;
    QTest::newRow("plain") << "5s" << 5.0;
    QTest::newRow("no s") << "abc" << 0.0;
    QTest::newRow("milli") << "2ms" << 0.002;
    QTest::newRow("nano") << "3ns" << 3e-9;
    QTest::newRow("pico") << "4ps" << 4e-12;
}

void TestReadout::getTimeVlu() {
    QFETCH(QString, text);
    QFETCH(double, value);
    QCOMPARE(GetTimeVlu(text), value);
}

void TestReadout::commaLocale() {
    QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    QCOMPARE(ConvertTimeToStr(1.25e-5), QString("12,50us"));
    QLocale::setDefault(QLocale::c());
}

QTEST_GUILESS_MAIN(TestReadout)
#include "tst_readout.moc"
