// SPDX-License-Identifier: GPL-3.0-or-later
// Word mappings between display words and the instrument's set and reply
// words, the pattern reply, raw-number conversions and the probe tables.
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "shared/ValueText.h"

#include <QtTest>

class TestWordMap : public QObject {
    Q_OBJECT
private slots:
    void init() { ApplyDisplayWords(1); }
    void cleanupTestCase() { ApplyDisplayWords(1); }
    void setAndReplySpellingsDiffer_data();
    void setAndReplySpellingsDiffer();
    void everySetWordOfEveryMapping();
    void setWords_data();
    void setWords();
    void chineseWordsMapToTheSameInstrumentWords();
    void thresholdAndProbe_data();
    void thresholdAndProbe();
    void patternReplyToLevels();
    void patternReplyTooShortIsABoundsFault();
    void hexAndPicoseconds();
    void pointsRoundHalfToEven();
    void nextTimeScale_data();
    void nextTimeScale();
    void probeScaledToBase_data();
    void probeScaledToBase();
    void levelsAskTheInstrument();
};

using Mapper = QString (*)(const QString&);
Q_DECLARE_METATYPE(Mapper)

void TestWordMap::setAndReplySpellingsDiffer_data() {
    QTest::addColumn<Mapper>("fromReply");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QString>("word");
    QTest::newRow("pulse reply spelling") << Mapper(PulseModeFromReply) << "-GREATER THAN"
                                          << "-Greater Than";
    QTest::newRow("pulse set spelling is no reply") << Mapper(PulseModeFromReply) << "-GREATERTHAN"
                                                    << "-Equal";
    QTest::newRow("slope reply") << Mapper(SlopeModeFromReply) << "+LESS THAN"
                                 << "+Less Than";
    QTest::newRow("slope unmatched") << Mapper(SlopeModeFromReply) << ""
                                     << "-Equal";
    QTest::newRow("video sync reply") << Mapper(VideoSyncFromReply) << "ODD FIELD"
                                      << "ODDfield";
    QTest::newRow("video sync set word is no reply") << Mapper(VideoSyncFromReply) << "ODDfield"
                                                     << "EVENfield";
    QTest::newRow("video all lines") << Mapper(VideoSyncFromReply) << "ALL LINES"
                                     << "ALLlines";
    QTest::newRow("qualifier reply") << Mapper(QualifierFromReply) << "LESS THAN"
                                     << "Less Than";
    QTest::newRow("qualifier set word is no reply") << Mapper(QualifierFromReply) << "LESSTHAN"
                                                    << "Equal";
    QTest::newRow("sweep unmatched is empty") << Mapper(SweepFromReply) << "FOO"
                                              << "";
    QTest::newRow("switch one") << Mapper(SwitchFromReply) << "1"
                                << "ON";
    QTest::newRow("switch zero") << Mapper(SwitchFromReply) << "0"
                                 << "OFF";
    QTest::newRow("sampling real") << Mapper(SamplingFromReply) << "REAL_TIME"
                                   << "REAL_TIME";
    QTest::newRow("sampling other") << Mapper(SamplingFromReply) << "RTIME"
                                    << "EQUAL_TIME";
    QTest::newRow("method alternation") << Mapper(TriggerMethodFromReply) << "ALTERNATION"
                                        << "ALTERNATIVE";
    QTest::newRow("method unmatched") << Mapper(TriggerMethodFromReply) << "X"
                                      << "DURATION";
    QTest::newRow("acquisition unmatched") << Mapper(AcquisitionFromReply) << ""
                                           << "AVERAGE";
    QTest::newRow("grid unmatched") << Mapper(GridFromReply) << "QUARTER"
                                    << "NONE";
    QTest::newRow("coupling unmatched") << Mapper(CouplingFromReply) << "XX"
                                        << "GND";
    QTest::newRow("edge slope unmatched") << Mapper(EdgeSlopeFromReply) << "EITHER"
                                          << "ALTERNATION";
    QTest::newRow("run other") << Mapper(RunStateFromReply) << "WAIT"
                               << "STOP";
    QTest::newRow("format roll") << Mapper(TimeFormatFromReply) << "SCANNING"
                                 << "Roll";
    QTest::newRow("format kept") << Mapper(TimeFormatFromReply) << "YT"
                                 << "YT";
    QTest::newRow("source ac line") << Mapper(TriggerSourceFromReply) << "ACLINE"
                                    << "AC";
    QTest::newRow("source kept") << Mapper(TriggerSourceFromReply) << "CH2"
                                 << "CH2";
}

void TestWordMap::setAndReplySpellingsDiffer() {
    QFETCH(Mapper, fromReply);
    QFETCH(QString, reply);
    QFETCH(QString, word);
    QCOMPARE(fromReply(reply), word);
}

void TestWordMap::everySetWordOfEveryMapping() {
    // Every display word of every mapping against the word the instrument
    // takes: a wrong one reaches the instrument unnoticed (the simulator
    // accepts any), so each row is checked, in both languages.
    for (int language : {1, 0}) {
        ApplyDisplayWords(language);
        const struct {
            Mapper map;
            QString word;
            const char* set;
        } rows[] = {
            {SwitchToCmd, WordOn, "ON"},
            {SwitchToCmd, WordOff, "OFF"},
            {SizeToCmd, WordBig, "BIG"},
            {SizeToCmd, WordSmall, "SMALL"},
            {CouplingToCmd, WordCouplingAc, "AC"},
            {CouplingToCmd, WordCouplingDc, "DC"},
            {CouplingToCmd, WordCouplingLf, "LF"},
            {CouplingToCmd, WordCouplingHf, "HF"},
            {CouplingToCmd, WordCouplingGnd, "GND"},
            {SweepToCmd, WordSweepAuto, "AUTO"},
            {SweepToCmd, WordSweepNormal, "NORMAL"},
            {SweepToCmd, WordSweepSingle, "SINGLE"},
            {EdgeSlopeToCmd, WordRising, "POSITIVE"},
            {EdgeSlopeToCmd, WordFalling, "NEGATIVE"},
            {EdgeSlopeToCmd, WordBothEdges, "ALTERNATION"},
            {PulseModeToCmd, WordPlusLess, "+LESSTHAN"},
            {PulseModeToCmd, WordMinusLess, "-LESSTHAN"},
            {PulseModeToCmd, WordPlusGreater, "+GREATERTHAN"},
            {PulseModeToCmd, WordMinusGreater, "-GREATERTHAN"},
            {PulseModeToCmd, WordPlusEqual, "+EQUAL"},
            {PulseModeToCmd, WordMinusEqual, "-EQUAL"},
            {SlopeModeToCmd, WordSlopePlusLess, "+LESSTHAN"},
            {SlopeModeToCmd, WordSlopeMinusLess, "-LESSTHAN"},
            {SlopeModeToCmd, WordSlopePlusGreater, "+GREATERTHAN"},
            {SlopeModeToCmd, WordSlopeMinusGreater, "-GREATERTHAN"},
            {SlopeModeToCmd, WordSlopePlusEqual, "+EQUAL"},
            {SlopeModeToCmd, WordSlopeMinusEqual, "-EQUAL"},
            {VideoPolarityToCmd, WordPositive, "POSITIVE"},
            {VideoPolarityToCmd, WordNegative, "NEGATIVE"},
            {VideoSyncToCmd, WordAllLines, "ALLlines"},
            {VideoSyncToCmd, WordLine, "LINE"},
            {VideoSyncToCmd, WordOddField, "ODDfield"},
            {VideoSyncToCmd, WordEvenField, "EVENfield"},
            {QualifierToCmd, WordLess, "LESSTHAN"},
            {QualifierToCmd, WordGreater, "GREATERTHAN"},
            {QualifierToCmd, WordEqual, "EQUAL"},
            {SamplingToCmd, WordRealTime, "RTIME"},
            {SamplingToCmd, WordEqualTime, "ETIME"},
            {AcquisitionToCmd, WordAcqNormal, "NORMAL"},
            {AcquisitionToCmd, WordAcqPeak, "PEAKDETECT"},
            {AcquisitionToCmd, WordAcqAverage, "AVERAGE"},
            {DisplayTypeToCmd, WordVectors, "VECTORS"},
            {DisplayTypeToCmd, WordDots, "DOTS"},
            {GridToCmd, WordGridFull, "FULL"},
            {GridToCmd, WordGridHalf, "HALF"},
            {GridToCmd, WordGridNone, "NONE"},
            {TriggerMethodToCmd, WordEdge, "EDGE"},
            {TriggerMethodToCmd, WordPulse, "PULSE"},
            {TriggerMethodToCmd, WordVideo, "VIDEO"},
            {TriggerMethodToCmd, WordSlope, "SLOPE"},
            {TriggerMethodToCmd, WordAlternation, "ALTERNATION"},
            {TriggerMethodToCmd, WordPattern, "PATTERN"},
            {TriggerMethodToCmd, WordDuration, "DURATION"},
        };
        for (const auto& row : rows)
            QVERIFY2(row.map(row.word) == QLatin1String(row.set),
                     qPrintable(row.word + " -> " + row.map(row.word) + ", not " + row.set));
    }
    ApplyDisplayWords(1);
}

void TestWordMap::setWords_data() {
    QTest::addColumn<Mapper>("toCmd");
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("set");
    QTest::newRow("run") << Mapper(RunStateToCmd) << "RUN"
                         << ":RUN";
    QTest::newRow("format yt") << Mapper(TimeFormatToCmd) << "Y-T"
                               << "YT";
    QTest::newRow("format xy") << Mapper(TimeFormatToCmd) << "X-Y"
                               << "XY";
    QTest::newRow("format roll") << Mapper(TimeFormatToCmd) << "Roll"
                                 << "SCANNING";
    QTest::newRow("standard slash") << Mapper(VideoStandardToCmd) << "PAL/SECAM"
                                    << "PALSECAM";
    QTest::newRow("source ch2") << Mapper(TriggerSourceToCmd) << "CH2"
                                << "CHANNEL2";
    QTest::newRow("source digital") << Mapper(TriggerSourceToCmd) << "D7"
                                    << "DIGITAL7";
    QTest::newRow("source ac line") << Mapper(TriggerSourceToCmd) << "AC"
                                    << "ACLINE";
    QTest::newRow("probe") << Mapper(ProbeToCmd) << "1000X"
                           << "1000";
    QTest::newRow("unknown word gives the last row") << Mapper(GridToCmd) << "?"
                                                     << "NONE";
}

void TestWordMap::setWords() {
    QFETCH(Mapper, toCmd);
    QFETCH(QString, word);
    QFETCH(QString, set);
    QCOMPARE(toCmd(word), set);
}

void TestWordMap::chineseWordsMapToTheSameInstrumentWords() {
    ApplyDisplayWords(0);
    QCOMPARE(CouplingFromReply("AC"), QString::fromUtf8("交流"));
    QCOMPARE(TriggerSourceFromReply("ACLINE"), QString::fromUtf8("市电"));
    QCOMPARE(TriggerSourceToCmd(QString::fromUtf8("市电")), QString("ACLINE"));
    QCOMPARE(SlopeModeFromReply("+LESS THAN"), QString::fromUtf8("上升沿小于"));
    // An English word no longer matches: the last row's set-word goes out.
    QCOMPARE(SwitchToCmd("ON"), QString("OFF"));
}

void TestWordMap::thresholdAndProbe_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("in");
    QTest::addColumn<QString>("out");
    QTest::newRow("threshold user value") << "fromReply"
                                          << "User 1.5"
                                          << "1.50V";
    QTest::newRow("threshold family") << "fromReply"
                                      << "TTL"
                                      << "TTL";
    QTest::newRow("display family") << "display"
                                    << "CMOS"
                                    << "CMOS";
    QTest::newRow("display user") << "display"
                                  << "USER 2.5"
                                  << "2.50V";
    QTest::newRow("probe ten with line feed") << "probe"
                                              << "10\n"
                                              << "10X";
    QTest::newRow("probe unknown ratio") << "probe"
                                         << "3"
                                         << "1000X";
    QTest::newRow("probe thousand") << "probe"
                                    << "1000"
                                    << "1000X";
    QTest::newRow("probe float text") << "probe"
                                      << "500.0"
                                      << "500X";
    QTest::newRow("probe one") << "probe"
                               << "1"
                               << "1X";
}

void TestWordMap::thresholdAndProbe() {
    QFETCH(QString, kind);
    QFETCH(QString, in);
    QFETCH(QString, out);
    const QString got = kind == "fromReply" ? ThresholdFromReply(in)
                        : kind == "display" ? ThresholdToDisplay(in)
                                            : ProbeFromReply(in);
    QCOMPARE(got, ShownForm(out)); // a threshold's volts show the machine's decimal sign
}

void TestWordMap::patternReplyToLevels() {
    PatternLevels levels;
    PatternReplyToLevels("PATTERN,0,0,None", levels);
    for (int i = 1; i <= 16; ++i)
        QCOMPARE(levels[i], QString("X"));

    // Value FF00: D15..D8 high; full mask; D3 is the rising edge (slot 13).
    PatternReplyToLevels("PATTERN,65280,65535,D3,Positive", levels);
    for (int i = 1; i <= 8; ++i)
        QCOMPARE(levels[i], QString("H"));
    for (int i = 9; i <= 16; ++i)
        QCOMPARE(levels[i], i == 13 ? QString("RISING") : QString("L"));

    // Mask 00FF masks out the high byte; a falling edge on D0 (slot 16).
    PatternReplyToLevels("PATTERN,1,255,D0, Negative", levels);
    for (int i = 1; i <= 8; ++i)
        QCOMPARE(levels[i], QString("X"));
    QCOMPARE(levels[9], QString("L"));
    QCOMPARE(levels[16], QString("FALLING"));

    // Three fields: the edge part is not read.
    PatternReplyToLevels("P,65535,65535", levels);
    QCOMPARE(levels[16], QString("H"));
}

void TestWordMap::patternReplyTooShortIsABoundsFault() {
    PatternLevels levels;
    QVERIFY_THROWS_EXCEPTION(platform::BoundsFault, PatternReplyToLevels("PATTERN,5", levels));
    QVERIFY_THROWS_EXCEPTION(platform::BoundsFault,
                             PatternReplyToLevels("P,1,1,D17,Positive", levels));
    // Numbers no 32-bit conversion holds are the handler's overflow.
    for (const char* reply : {"P,1e21,1", "P,1,-1e30", "P,1,1,D1e300,Positive"})
        QVERIFY_THROWS_EXCEPTION(platform::ArithmeticFault, PatternReplyToLevels(reply, levels));
}

void TestWordMap::hexAndPicoseconds() {
    QCOMPARE(HexTextToNumber("FF"), 255.0);
    QCOMPARE(HexTextToNumber("ff"), 255.0);
    QCOMPARE(HexTextToNumber("1A"), 26.0);
    QCOMPARE(HexTextToNumber("G1"), 1.0);
    QCOMPARE(HexTextToNumber(""), 0.0);
    QCOMPARE(HexTextToNumber("FFFFFFFF"), 4294967295.0);
    QCOMPARE(PicosecondsToSeconds(1000000, 0), 1e-6);
    QCOMPARE(PicosecondsToSeconds(-1, 0), 4294967295.0 / 1e12);
    QCOMPARE(PicosecondsToSeconds(0, 1), 0.004294967296);
    QCOMPARE(PointsToValue(25, 0.5), 0.5);
    QCOMPARE(PointsToValue(-50, 2), -4.0);
}

void TestWordMap::pointsRoundHalfToEven() {
    QCOMPARE(ValueToPoints(0.5, 1), short(12)); // 12.5 -> 12
    QCOMPARE(ValueToPoints(0.7, 1), short(18)); // 17.5 -> 18
    QCOMPARE(ValueToPoints(-0.5, 1), short(-12));
    QVERIFY_THROWS_EXCEPTION(platform::ArithmeticFault, ValueToPoints(1, 0));
    QVERIFY_THROWS_EXCEPTION(platform::ArithmeticFault, ValueToPoints(2000, 1));
}

void TestWordMap::nextTimeScale_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<double>("direction");
    QTest::addColumn<double>("next");
    QTest::newRow("down from 2 ns") << 2e-9 << 0.0 << 1e-9;
    QTest::newRow("down from 1 ns") << 1e-9 << 0.0 << 500e-12;
    QTest::newRow("down from 5 ns holds") << 5e-9 << 0.0 << 5e-9;
    QTest::newRow("down from 10 ns") << 10e-9 << 0.0 << 5e-9;
    QTest::newRow("down from 4 ns") << 4e-9 << 0.0 << 5e-9;
    QTest::newRow("down from 3 ps") << 3e-12 << 0.0 << 2e-12;
    QTest::newRow("down at the bottom") << 1e-12 << 0.0 << 1e-12;
    QTest::newRow("down from 1 ms") << 1e-3 << 0.0 << 500e-6;
    QTest::newRow("up from 1 ns") << 1e-9 << 1.0 << 2e-9;
    QTest::newRow("up from 2 ns") << 2e-9 << 1.0 << 5e-9;
    QTest::newRow("up from 5 ns") << 5e-9 << 1.0 << 10e-9;
    QTest::newRow("up from half a ps") << 0.5e-12 << 1.0 << 1e-12;
    QTest::newRow("up between rungs") << 3e-6 << 2.0 << 5e-6;
}

void TestWordMap::nextTimeScale() {
    QFETCH(double, seconds);
    QFETCH(double, direction);
    QFETCH(double, next);
    QCOMPARE(NextTimeScale(seconds, direction), next);
}

void TestWordMap::probeScaledToBase_data() {
    QTest::addColumn<QString>("scale");
    QTest::addColumn<QString>("probe");
    QTest::addColumn<QString>("base");
    QTest::newRow("10X volts") << "10.0V"
                               << "10X"
                               << "1.00V";
    QTest::newRow("10X unknown word") << "7V"
                                      << "10X"
                                      << "10.0V";
    QTest::newRow("unknown probe") << "1.00V"
                                   << "3X"
                                   << "";
    QTest::newRow("1X unchanged") << "1.23V"
                                  << "1X"
                                  << "1.23V";
    QTest::newRow("1000X kilovolts") << "5.00kV"
                                     << "1000X"
                                     << "5.00V";
    QTest::newRow("5X") << "2.50V"
                        << "5X"
                        << "500mV";
    QTest::newRow("2X lowest") << "2.00mV"
                               << "2X"
                               << "1.00mV";
    QTest::newRow("500X") << "1000V"
                          << "500X"
                          << "2.00V";
    QTest::newRow("50X") << "250mV"
                         << "50X"
                         << "5.00mV";
    QTest::newRow("100X") << "1.00V"
                          << "100X"
                          << "10.0mV";
}

void TestWordMap::probeScaledToBase() {
    QFETCH(QString, scale);
    QFETCH(QString, probe);
    QFETCH(QString, base);
    QCOMPARE(ProbeScaledToBase(scale, probe), base);
}

void TestWordMap::levelsAskTheInstrument() {
    QStringList asked;
    const InstrumentQuery query = [&asked](const QString& command) {
        asked << command;
        if (command.endsWith("SCALE?")) return QString("0.5\n");
        return QString("0.25\n");
    };
    QCOMPARE(TriggerScaleForSource("CH2", query), QString("0.5"));
    QCOMPARE(asked, QStringList{":CHANNEL2:SCALE?"});
    QCOMPARE(TriggerScaleForSource("EXT", query), QString("0.2"));
    QCOMPARE(TriggerScaleForSource("EXT5", query), QString("1"));
    QCOMPARE(TriggerScaleForSource("AC", query), QString("0"));

    asked.clear();
    // 2 div * 0.5 V - 0.25 V, written without the leading zero (the Str form).
    QCOMPARE(LevelFromDiv("2", "CH1", query), QString(".75"));
    QCOMPARE(asked, (QStringList{":CHANNEL1:SCALE?", ":CHANNEL1:OFFSET?"}));
    QCOMPARE(LevelFromDiv("1.5", "EXT", query), QString(".3"));
    QCOMPARE(LevelFromDiv("-2", "EXT5", query), QString("-2"));
    QCOMPARE(LevelFromDiv("3", "ACLINE", query), QString("0"));
    QCOMPARE(asked.size(), 2); // the fixed sources ask nothing
}

QTEST_GUILESS_MAIN(TestWordMap)
#include "tst_wordmap.moc"
