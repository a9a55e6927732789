// SPDX-License-Identifier: GPL-3.0-or-later
// Parsers, display ladders, dialog fields and command numbers. Expected texts
// are worked out by hand from the ladders, not recomputed.
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QLocale>
#include <QtTest>

class TestValueText : public QObject {
    Q_OBJECT
private slots:
    void cleanup() { QLocale::setDefault(QLocale::c()); }
    void parsers_data();
    void parsers();
    void timeTextToExpText_data();
    void timeTextToExpText();
    void normVolt_data();
    void normVolt();
    void normTime_data();
    void normTime();
    void normFreq_data();
    void normFreq();
    void normDBAndPercent_data();
    void normDBAndPercent();
    void thirtyTwoAndSixtyFourBitPaths();
    void normDivWritesTheScaleBack();
    void normDivByZeroFaults();
    void commaLocaleShowsButNeverSends();
    void splitToUnit_data();
    void splitToUnit();
    void cmdText_data();
    void cmdText();
};

enum Parser { Percent, Freq, Volt, Time, VoltWide };

void TestValueText::parsers_data() {
    QTest::addColumn<int>("parser");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value");
    QTest::addColumn<bool>("valid");
    QTest::newRow("volt milli") << int(Volt) << "2.00mV" << 0.002 << true;
    QTest::newRow("volt out of range mark") << int(Volt) << ">2.00mV" << 0.0 << false;
    QTest::newRow("volt star") << int(Volt) << "*" << 0.0 << false;
    QTest::newRow("volt no unit") << int(Volt) << "5" << 0.0 << false;
    QTest::newRow("volt blank before unit") << int(Volt) << "1.5 V" << 0.0 << false;
    QTest::newRow("volt plain") << int(Volt) << "10.0V" << 10.0 << true;
    QTest::newRow("volt micro") << int(Volt) << "500uV" << 0.0005 << true;
    QTest::newRow("volt kilo") << int(Volt) << "3kV" << 3000.0 << true;
    QTest::newRow("volt pico") << int(Volt) << "1pV" << 1e-12 << true;
    QTest::newRow("volt has no mega") << int(Volt) << "2MV" << 0.0 << false;
    QTest::newRow("volt cut at line feed") << int(Volt) << "2.00mV\n3V" << 0.002 << true;
    QTest::newRow("volt unit first") << int(Volt) << "V" << 0.0 << false;
    QTest::newRow("wide mega") << int(VoltWide) << "2MV" << 2e6 << true;
    QTest::newRow("wide has no nano") << int(VoltWide) << "1nV" << 0.0 << false;
    QTest::newRow("freq kilo") << int(Freq) << "1.000kHz" << 1000.0 << true;
    QTest::newRow("freq milli lower case") << int(Freq) << "5.0mHz" << 0.005 << true;
    QTest::newRow("freq mega upper case") << int(Freq) << "5.0MHz" << 5e6 << true;
    QTest::newRow("freq giga") << int(Freq) << "2GHz" << 2e9 << true;
    QTest::newRow("freq plain") << int(Freq) << "50Hz" << 50.0 << true;
    QTest::newRow("freq less-than mark") << int(Freq) << "<10Hz" << 0.0 << false;
    QTest::newRow("time micro") << int(Time) << "10.0us" << 1e-5 << true;
    QTest::newRow("time nano") << int(Time) << "2.5ns" << 2.5e-9 << true;
    QTest::newRow("time plain") << int(Time) << "1.00s" << 1.0 << true;
    QTest::newRow("time has no kilo") << int(Time) << "3ks" << 0.0 << false;
    QTest::newRow("percent") << int(Percent) << "25.0%" << 0.25 << true;
    QTest::newRow("percent alone") << int(Percent) << "%" << 0.0 << false;
    QTest::newRow("percent letter before") << int(Percent) << "a%" << 0.0 << false;
}

void TestValueText::parsers() {
    QFETCH(int, parser);
    QFETCH(QString, text);
    QFETCH(double, value);
    QFETCH(bool, valid);
    ValueTextValid = !valid; // each parser must set the flag itself
    double got = 0;
    switch (parser) {
    case Percent:
        got = ParsePercentText(text);
        break;
    case Freq:
        got = ParseFreqText(text);
        break;
    case Volt:
        got = ParseVoltText(text);
        break;
    case Time:
        got = ParseTimeText(text);
        break;
    case VoltWide:
        got = ParseVoltTextWide(text);
        break;
    }
    QCOMPARE(got, value);
    QCOMPARE(ValueTextValid, valid);
}

void TestValueText::timeTextToExpText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("exp");
    QTest::newRow("nano") << "2.5ns"
                          << "2.500E-9";
    QTest::newRow("many digits") << "1.23456789us"
                                 << "1.23456789E-6";
    QTest::newRow("pico") << "100ps"
                          << "100.000E-12";
    QTest::newRow("milli") << "20ms"
                           << "20.000E-3";
    QTest::newRow("plain seconds") << "5s"
                                   << "5.000";
    QTest::newRow("no s") << "x"
                          << "";
    QTest::newRow("mark") << ">1ns"
                          << "";
    QTest::newRow("unknown prefix") << "1ks"
                                    << "";
}

void TestValueText::timeTextToExpText() {
    QFETCH(QString, text);
    QFETCH(QString, exp);
    QCOMPARE(TimeTextToExpText(text), exp);
}

void TestValueText::normVolt_data() {
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("out");
    QTest::newRow("zero") << "0"
                          << "0.00uV";
    QTest::newRow("rounds up into volts") << "0.999995"
                                          << "1.00V";
    QTest::newRow("half volt") << "0.5"
                               << "500mV";
    QTest::newRow("too large") << "1e7"
                               << "??.?V";
    QTest::newRow("at the top bound") << "9.9999e6"
                                      << "??.?V";
    QTest::newRow("no negative megavolts") << "-2e6"
                                           << "??.?V";
    QTest::newRow("megavolts") << "2e6"
                               << "2.00MV";
    QTest::newRow("megavolt bound") << "999990"
                                    << "1.00MV";
    QTest::newRow("just under megavolts") << "999989"
                                          << "1000kV";
    QTest::newRow("negative kilovolts") << "-500000"
                                        << "-500kV";
    QTest::newRow("tens of kilovolts") << "12345"
                                       << "12.3kV";
    QTest::newRow("kilovolts") << "1234"
                               << "1.23kV";
    QTest::newRow("hundreds of volts") << "150"
                                       << "150V";
    QTest::newRow("negative tens") << "-15"
                                   << "-15.0V";
    QTest::newRow("volts") << "2.5"
                           << "2.50V";
    QTest::newRow("negative millivolts") << "-0.25"
                                         << "-250mV";
    QTest::newRow("tens of millivolts") << "0.0123"
                                        << "12.3mV";
    QTest::newRow("millivolts") << "0.00123"
                                << "1.23mV";
    QTest::newRow("hundreds of microvolts") << "0.0005"
                                            << "500uV";
    QTest::newRow("microvolts") << "5e-6"
                                << "5.00uV";
    QTest::newRow("below the ladder") << "5e-7"
                                      << "0.00uV";
    QTest::newRow("text with unit") << "1.00V"
                                    << "1.00V";
    QTest::newRow("no number") << "abc"
                               << "0.00uV";
}

void TestValueText::normVolt() {
    QFETCH(QString, in);
    QFETCH(QString, out);
    QCOMPARE(NormVolt(in), out);
}

void TestValueText::normTime_data() {
    QTest::addColumn<int>("digits");
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("out");
    QTest::newRow("10 us") << 3 << "0.00001"
                           << "10.0us";
    QTest::newRow("zero 3") << 3 << "0"
                            << "0.00s";
    QTest::newRow("zero 4") << 4 << "0"
                            << "0.000s";
    QTest::newRow("zero 5") << 5 << "0"
                            << "0.0000s";
    QTest::newRow("no upper limit") << 3 << "2500"
                                    << "2500s";
    QTest::newRow("negative milli") << 3 << "-0.001"
                                    << "-1.00ms";
    QTest::newRow("four digits milli") << 4 << "0.5"
                                       << "500.0ms";
    QTest::newRow("five digits seconds") << 5 << "1.5"
                                         << "1.5000s";
    QTest::newRow("one nanosecond") << 3 << "1e-9"
                                    << "1.00ns";
    QTest::newRow("picoseconds") << 3 << "1.5e-12"
                                 << "1.50ps";
    QTest::newRow("below picoseconds") << 3 << "5e-13"
                                       << "0.00s";
    QTest::newRow("fifty milli") << 3 << "0.05"
                                 << "50.0ms";
    QTest::newRow("default delay") << 5 << "0"
                                   << "0.0000s";
    QTest::newRow("hundred nano four") << 4 << "1e-7"
                                       << "100.0ns";
    // The ladder's boundaries: a hair under the decade stays below it. The
    // reading is 32-bit, so "0.99999" itself already falls under the s rung.
    QTest::newRow("s boundary, on it") << 3 << "1"
                                       << "1.00s";
    QTest::newRow("s boundary, float under it") << 3 << "0.99999"
                                                << "1000ms";
    QTest::newRow("s boundary, under it") << 3 << "0.99998"
                                          << "1000ms";
    QTest::newRow("ms boundary, on it") << 3 << "0.001"
                                        << "1.00ms";
    QTest::newRow("ms boundary, under it") << 3 << "0.00099998"
                                           << "1000us";
    QTest::newRow("10 s boundary") << 3 << "10"
                                   << "10.0s";
    QTest::newRow("10 s, float under it") << 3 << "9.9999"
                                          << "10.00s";
    QTest::newRow("100 ms boundary") << 4 << "0.099999"
                                     << "100.0ms";
}

void TestValueText::normTime() {
    QFETCH(int, digits);
    QFETCH(QString, in);
    QFETCH(QString, out);
    const QString got = digits == 3 ? NormTime3(in) : digits == 4 ? NormTime4(in) : NormTime5(in);
    QCOMPARE(got, out);
}

void TestValueText::normFreq_data() {
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("out");
    QTest::newRow("zero") << "0"
                          << "??.???";
    QTest::newRow("negative") << "-5"
                              << "??.???";
    QTest::newRow("one kilohertz") << "1000"
                                   << "1.000kHz";
    QTest::newRow("too large") << "1e12"
                               << "??.???";
    QTest::newRow("fifty hertz") << "50"
                                 << "50.00Hz";
    QTest::newRow("one hertz") << "1"
                               << "1.000Hz";
    QTest::newRow("half hertz") << "0.5"
                                << "500.0mHz";
    QTest::newRow("megahertz") << "123456789"
                               << "123.5MHz";
    QTest::newRow("gigahertz") << "2.5e9"
                               << "2.500GHz";
    QTest::newRow("below the ladder") << "5e-4"
                                      << "??.???";
}

void TestValueText::normFreq() {
    QFETCH(QString, in);
    QFETCH(QString, out);
    QCOMPARE(NormFreq(in), out);
}

void TestValueText::normDBAndPercent_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("out");
    QTest::newRow("dB zero") << "dB"
                             << "0"
                             << "0.00dB";
    QTest::newRow("dB too high") << "dB"
                                 << "12345"
                                 << "****dB";
    QTest::newRow("dB too low") << "dB"
                                << "-12345"
                                << "-****dB";
    QTest::newRow("dB hundreds") << "dB"
                                 << "150"
                                 << "150.0dB";
    QTest::newRow("dB tens") << "dB"
                             << "20"
                             << "20.0dB";
    QTest::newRow("dB negative tens") << "dB"
                                      << "-50"
                                      << "-50.0dB";
    QTest::newRow("dB negative hundreds") << "dB"
                                          << "-150"
                                          << "-150.0dB";
    QTest::newRow("dB negative small") << "dB"
                                       << "-5.5"
                                       << "-5.50dB";
    QTest::newRow("percent quarter") << "%"
                                     << "0.25"
                                     << "25.0%";
    QTest::newRow("percent small") << "%"
                                   << "0.05"
                                   << "5.00%";
    QTest::newRow("percent whole") << "%"
                                   << "1"
                                   << "100.0%";
    QTest::newRow("percent tenth") << "%"
                                   << "0.1"
                                   << "10.0%";
}

void TestValueText::normDBAndPercent() {
    QFETCH(QString, kind);
    QFETCH(QString, in);
    QFETCH(QString, out);
    QCOMPARE(kind == "dB" ? NormDB(in) : NormPercent(in), out);
}

void TestValueText::thirtyTwoAndSixtyFourBitPaths() {
    // NormVolt scales millivolts as a 32-bit float, NormTime in 64 bits: the
    // same digits round differently at this boundary.
    QCOMPARE(NormVolt("0.01005"), QString("10.1mV"));
    QCOMPARE(NormTime3("0.01005"), QString("10.0ms"));
}

void TestValueText::normDivWritesTheScaleBack() {
    QString scale = "0.2";
    QCOMPARE(NormDiv("0.5", scale), QString("2.50div"));
    QCOMPARE(scale, QString("0.2"));
    scale = "1.00V";
    QCOMPARE(NormDiv("0.25V", scale), QString("0.25div"));
    QCOMPARE(scale, QString("1"));
    scale = "3";
    QCOMPARE(NormDiv("1", scale), QString("0.33div"));
    scale = "1";
    QCOMPARE(NormDiv("-0.1", scale), QString("-0.10div"));
}

void TestValueText::normDivByZeroFaults() {
    QString scale = "0";
    QVERIFY_THROWS_EXCEPTION(platform::ArithmeticFault, NormDiv("1", scale));
}

void TestValueText::commaLocaleShowsButNeverSends() {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QCOMPARE(NormVolt("2.5"), QString("2,50V"));
    QCOMPARE(NormTime4("0.5"), QString("500,0ms"));
    QString scale = "0.5";
    QCOMPARE(NormDiv("0.25", scale), QString("0,50div"));
    // Commands and the number boxes that feed them keep the point.
    QCOMPARE(TimeToCmdText(0.0015), QString("0.0015s"));
    QCOMPARE(VoltToCmdText(0.5), QString("0.5v"));
    QCOMPARE(TimeToCmdTextDot(2.5e-7), QString("0.25us"));
    QCOMPARE(SplitTimeToUnit(0.0015).number, QString("1.500"));
    QCOMPARE(TimeTextToExpText("2.5ns"), QString("2.500E-9"));
    QCOMPARE(Val("1,5"), 1.0);
}

void TestValueText::splitToUnit_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("number");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("joined");
    QTest::newRow("volt milli") << "V" << 0.0025 << "2.500" << 3 << "2.500mV";
    QTest::newRow("volt out of range") << "V" << 2e9 << "???.?" << 2 << "???.?V";
    QTest::newRow("volt negative kilo") << "V" << -1500.0 << "-1.500" << 1 << "-1.500kV";
    QTest::newRow("volt mega") << "V" << 1e6 << "1.000" << 0 << "1.000MV";
    QTest::newRow("volt zero") << "V" << 0.0 << "0.000" << 4 << "0.000uV";
    QTest::newRow("freq kilo") << "F" << 1500.0 << "1.500" << 2 << "1.500KHz";
    QTest::newRow("freq negative") << "F" << -1.0 << "???.?" << 3 << "???.?Hz";
    QTest::newRow("freq too large") << "F" << 1e12 << "???.?" << 3 << "???.?Hz";
    QTest::newRow("freq milli") << "F" << 0.5 << "500.000" << 4 << "500.000mHz";
    QTest::newRow("freq giga") << "F" << 2e9 << "2.000" << 0 << "2.000GHz";
    QTest::newRow("time nano") << "T" << 2.5e-9 << "2.500" << 1 << "2.500ns";
    QTest::newRow("time milli") << "T" << 0.0015 << "1.500" << 3 << "1.500ms";
    QTest::newRow("time negative milli") << "T" << -0.002 << "-2.000" << 3 << "-2.000ms";
    QTest::newRow("time seconds") << "T" << 1.0 << "1.000" << 4 << "1.000s";
    QTest::newRow("time pico") << "T" << 5e-13 << "0.500" << 0 << "0.500ps";
    QTest::newRow("time out of range") << "T" << 1000.0 << "???.?" << 4 << "???.?s";
    QTest::newRow("percent") << "%" << 12.5 << "12.50" << 0 << "12.50%";
}

void TestValueText::splitToUnit() {
    QFETCH(QString, kind);
    QFETCH(double, value);
    QFETCH(QString, number);
    QFETCH(int, row);
    QFETCH(QString, joined);
    SplitResult r;
    if (kind == "V")
        r = SplitVoltToUnit(value);
    else if (kind == "F")
        r = SplitFreqToUnit(value, 3);
    else if (kind == "T")
        r = SplitTimeToUnit(value, 4);
    else
        r = SplitPercentToText(value);
    QCOMPARE(r.number, number);
    QCOMPARE(r.unitRow, row);
    QCOMPARE(r.joined, joined);
}

void TestValueText::cmdText_data() {
    QTest::addColumn<bool>("time");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("one nanosecond") << true << 1e-9 << "1.0ns";
    QTest::newRow("one second") << true << 1.0 << "1.0s";
    QTest::newRow("one microsecond") << true << 1e-6 << "1.0us";
    QTest::newRow("five ns as us") << true << 5e-9 << "0.005us";
    QTest::newRow("one millisecond") << true << 0.001 << "1.0ms";
    QTest::newRow("above a millisecond") << true << 0.0015 << "0.0015s";
    QTest::newRow("negative goes nano") << true << -1e-3 << "-1000000.0ns";
    QTest::newRow("quarter microsecond") << true << 2.5e-7 << "0.25us";
    QTest::newRow("half volt") << false << 0.5 << "0.5v";
    QTest::newRow("one millivolt") << false << 0.001 << "1.0mv";
    QTest::newRow("negative offset") << false << -0.2 << "-200000000.0nv";
    QTest::newRow("zero volts") << false << 0.0 << "0.0nv";
}

void TestValueText::cmdText() {
    QFETCH(bool, time);
    QFETCH(double, value);
    QFETCH(QString, text);
    QCOMPARE(time ? TimeToCmdText(value) : VoltToCmdText(value), text);
}

QTEST_GUILESS_MAIN(TestValueText)
#include "tst_valuetext.moc"
