// SPDX-License-Identifier: GPL-3.0-or-later
// The picture formatter and the Val rule: the ground every value text stands on.
#include "platform/Faults.h"
#include "shared/Picture.h"

#include <QtTest>

class TestPicture : public QObject {
    Q_OBJECT
private slots:
    void format_data();
    void format();
    void singleAndDoubleDifferAtABoundary();
    void val_data();
    void val();
    void strAndCStr_data();
    void strAndCStr();
    void cintRoundsHalfToEvenAndOverflows();
};

void TestPicture::format_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("text");
    QTest::newRow("optional integer digit left out") << 0.5 << "#.00"
                                                     << ".50";
    QTest::newRow("all optional rounds to nothing") << 0.4 << "###"
                                                    << "";
    QTest::newRow("more digits than places") << 2500.0 << "###"
                                             << "2500";
    QTest::newRow("zero with one required digit") << 0.0 << "#0.00"
                                                  << "0.00";
    QTest::newRow("negative keeps its sign at zero") << -0.001 << "0.00"
                                                     << "-0.00";
    QTest::newRow("half away from zero") << 0.125 << "0.00"
                                         << "0.13";
    QTest::newRow("half away from zero, negative") << -0.125 << "0.00"
                                                   << "-0.13";
    QTest::newRow("integer half") << 2.5 << "0"
                                  << "3";
    QTest::newRow("carry into a new digit") << 9.996 << "#.00"
                                            << "10.00";
    QTest::newRow("required integer zeros") << 5.0 << "#000.0"
                                            << "005.0";
    QTest::newRow("percent multiplies") << 0.25 << "00.0%"
                                        << "25.0%";
    QTest::newRow("percent small") << 0.05 << "0.00%"
                                   << "5.00%";
    QTest::newRow("literal after digits") << 12.345 << "#0.00dB"
                                          << "12.35dB";
    QTest::newRow("literal negative") << -3.0 << "#00.0dB"
                                      << "-03.0dB";
    QTest::newRow("optional decimals trimmed") << 0.005 << "0.0########################"
                                               << "0.005";
    QTest::newRow("optional decimals keep one") << 1.0 << "0.0########################"
                                                << "1.0";
    QTest::newRow("fifteen digits from a double") << 1.0 / 3 << "0.0########################"
                                                  << "0.333333333333333";
    QTest::newRow("exponent plus sign") << 12345.0 << "0.00E+00"
                                        << "1.23E+04";
    QTest::newRow("exponent negative") << 0.000123 << "0.00E+00"
                                       << "1.23E-04";
    QTest::newRow("exponent minus form, positive") << 12345.0 << "0.00E-00"
                                                   << "1.23E04";
    QTest::newRow("exponent minus form, negative") << 0.000123 << "0.00E-00"
                                                   << "1.23E-04";
    QTest::newRow("exponent carry") << 9.999 << "0.00E+00"
                                    << "1.00E+01";
    QTest::newRow("exponent of zero") << 0.0 << "0.00E+00"
                                      << "0.00E+00";
}

void TestPicture::format() {
    QFETCH(double, value);
    QFETCH(QString, picture);
    QFETCH(QString, text);
    QCOMPARE(FormatPicture(value, picture, Precision::Double), text);
}

void TestPicture::singleAndDoubleDifferAtABoundary() {
    // Seven significant digits make a 5 where fifteen see ...4999.
    QCOMPARE(FormatPicture(2.0049999999, "0.00", Precision::Single), QString("2.01"));
    QCOMPARE(FormatPicture(2.0049999999, "0.00", Precision::Double), QString("2.00"));
    QCOMPARE(FormatPicture(1.5, "0.00", Precision::Double, ','), QString("1,50"));
}

void TestPicture::val_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("value");
    QTest::newRow("unit after number") << "1.00V" << 1.0;
    QTest::newRow("leading blanks and sign") << "  -1.5e3xyz" << -1500.0;
    QTest::newRow("tab") << "\t7" << 7.0;
    QTest::newRow("no number") << "V" << 0.0;
    QTest::newRow("empty") << "" << 0.0;
    QTest::newRow("second point stops") << "1.2.3" << 1.2;
    QTest::newRow("plus and bare point") << "+.5" << 0.5;
    QTest::newRow("exponent without digits") << "1e" << 1.0;
    QTest::newRow("exponent sign without digits") << "1e+" << 1.0;
    QTest::newRow("upper exponent") << "3E2" << 300.0;
    QTest::newRow("comma is not a decimal sign") << "12,5" << 12.0;
    QTest::newRow("blank after sign") << "- 5" << 0.0;
    QTest::newRow("line feed ends") << "0.25\n" << 0.25;
}

void TestPicture::val() {
    QFETCH(QString, text);
    QFETCH(double, value);
    QCOMPARE(Val(text), value);
}

void TestPicture::strAndCStr_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("str");
    QTest::addColumn<QString>("cstr");
    QTest::newRow("half") << 0.5 << " .5"
                          << "0.5";
    QTest::newRow("negative fraction") << -0.25 << "-.25"
                                       << "-0.25";
    QTest::newRow("small uses exponent") << 1e-5 << " 1E-05"
                                         << "1E-05";
    QTest::newRow("integer") << 123.0 << " 123"
                             << "123";
    QTest::newRow("zero") << 0.0 << " 0"
                          << "0";
    QTest::newRow("large uses exponent") << 1.5e15 << " 1.5E+15"
                                         << "1.5E+15";
    QTest::newRow("fifteen digits") << 0.1 + 0.2 << " .3"
                                    << "0.3";
}

void TestPicture::strAndCStr() {
    QFETCH(double, value);
    QFETCH(QString, str);
    QFETCH(QString, cstr);
    QCOMPARE(StrNumber(value), str);
    QCOMPARE(CStrNumber(value), cstr);
}

void TestPicture::cintRoundsHalfToEvenAndOverflows() {
    QCOMPARE(CIntHalfEven(2.5), short(2));
    QCOMPARE(CIntHalfEven(3.5), short(4));
    QCOMPARE(CIntHalfEven(-2.5), short(-2));
    QCOMPARE(CIntHalfEven(32767.4), short(32767));
    QVERIFY_THROWS_EXCEPTION(platform::ArithmeticFault, CIntHalfEven(32767.5));
    QVERIFY_THROWS_EXCEPTION(platform::ArithmeticFault, CIntHalfEven(-32769));
}

QTEST_GUILESS_MAIN(TestPicture)
#include "tst_picture.moc"
