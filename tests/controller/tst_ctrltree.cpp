// SPDX-License-Identifier: GPL-3.0-or-later
// The controller tree's shape for every trigger method and alternate type,
// and the dispatcher's reading of a clicked path.
#include "controller/CtrlState.h"
#include "controller/CtrlTree.h"
#include "controller/PraseCtrlList.h"
#include "shared/LoadLanguage.h"

#include <QtTest>

namespace {
QStringList captions(const CtrlTreeNode& node) {
    QStringList list;
    for (const CtrlTreeNode& c : node.children)
        list << c.caption;
    return list;
}
const CtrlTreeNode& section(const CtrlTreeNode& root, const char* name) {
    static const CtrlTreeNode none;
    const CtrlTreeNode* s = root.child(name);
    return s ? *s : none;
}
} // namespace

class TestCtrlTree : public QObject {
    Q_OBJECT
private slots:
    void init() {
        ApplyLanguage(kLanguageEnglish);
        CtrlData = CtrlDataDefaults();
        ModelHasLa = true;
    }
    void cleanupTestCase() { ApplyLanguage(kLanguageEnglish); }
    void sectionsInOrder();
    void triggerRowsByMethod_data();
    void triggerRowsByMethod();
    void alternateGroupsByType_data();
    void alternateGroupsByType();
    void digitalSourceDropsAnalogueRows();
    void averagesOnlyForAverageAcquisition();
    void laSectionOnlyWithDigitalChannels();
    void rowTextsAndImages();
    void splitCutsTheValue();
    void keysOfRows_data();
    void keysOfRows();
    void keysAreInTheCurrentLanguage();
};

void TestCtrlTree::sectionsInOrder() {
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, true);
    QCOMPARE(captions(root), (QStringList{"Running Control", "CH1", "CH2", "LA", "Time Base",
                                          "Trigger", "Acquire", "Display", "Virtual Panel"}));
    QCOMPARE(captions(section(root, "Running Control")),
             (QStringList{"Run|Stop", "Auto Set", "Set Trig to 50%", "Force Trigger"}));
    QCOMPARE(captions(section(root, "CH1")),
             (QStringList{"Display", "Volt/Div", "Offset", "Coupling", "BW Limit", "Probe"}));
    QCOMPARE(captions(section(root, "LA")),
             (QStringList{"Display", "Channel", "Position", "Threshold", "Size", "Reset"}));
    const CtrlTreeNode& la = section(root, "LA");
    QCOMPARE(la.child("Channel")->children.size(), qsizetype(18));
    QCOMPARE(la.child("Channel")->children[2].caption, QString("D15"));
    QCOMPARE(la.child("Channel")->children[17].caption, QString("D0"));
    QCOMPARE(la.child("Position")->children.size(), qsizetype(16));
    QCOMPARE(captions(*la.child("Size")), (QStringList{"D15-D8", "D7-D0"}));
    QCOMPARE(captions(section(root, "Time Base")), (QStringList{"Time/Div", "Delay", "Format"}));
    QCOMPARE(captions(section(root, "Display")), (QStringList{"Type", "Persist", "Clear", "Grid"}));
}

void TestCtrlTree::triggerRowsByMethod_data() {
    QTest::addColumn<QString>("method");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("edge") << "EDGE" << QStringList{"Method",   "Slope", "Source",      "Mode",
                                                   "Coupling", "Level", "Sensitivity", "Holdoff"};
    QTest::newRow("pulse") << "PULSE" << QStringList{"Method",      "Source",      "Pulse mode",
                                                     "Pulse width", "Mode",        "Coupling",
                                                     "Level",       "Sensitivity", "Holdoff"};
    QTest::newRow("video") << "VIDEO" << QStringList{"Method", "Source",      "Polarity",
                                                     "Sync",   "Line number", "Video Standard",
                                                     "Level",  "Sensitivity", "Holdoff"};
    QTest::newRow("slope") << "SLOPE"
                           << QStringList{"Method",      "Source",   "Slope mode", "Slope time",
                                          "Mode",        "Coupling", "LevelA",     "LevelB",
                                          "Sensitivity", "Holdoff"};
    QTest::newRow("alternation") << "ALTERNATIVE" << QStringList{"Method", "CH1", "CH2"};
    QTest::newRow("pattern") << "PATTERN" << QStringList{"Method", "Code", "Mode", "Holdoff"};
    QTest::newRow("duration") << "DURATION" << QStringList{"Method",        "Code", "Qualifier",
                                                           "Duration time", "Mode", "Holdoff"};
}

void TestCtrlTree::triggerRowsByMethod() {
    QFETCH(QString, method);
    QFETCH(QStringList, rows);
    CtrlData.TrigMethod = method;
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, true);
    QCOMPARE(captions(section(root, "Trigger")), rows);
    // The source row shows the source of the method.
    if (const CtrlTreeNode* source = section(root, "Trigger").child("Source")) {
        const QString* expected = method == "PULSE"   ? &CtrlData.PulseSource
                                  : method == "VIDEO" ? &CtrlData.VideoSource
                                  : method == "SLOPE" ? &CtrlData.SlopeSource
                                                      : &CtrlData.EdgeSource;
        QCOMPARE(source->field, expected);
    }
    // Alternation turns the time base into two groups.
    const QStringList timeBase = captions(section(root, "Time Base"));
    const QStringList expectedTimeBase = method == "ALTERNATIVE"
                                             ? QStringList{"CH1", "CH2"}
                                             : QStringList{"Time/Div", "Delay", "Format"};
    QCOMPARE(timeBase, expectedTimeBase);
    if (method == "PATTERN") {
        const CtrlTreeNode* code = section(root, "Trigger").child("Code");
        QVERIFY(code->children[12].field == &CtrlData.PatternLevel[13]);
    }
    if (method == "DURATION")
        QCOMPARE(section(root, "Trigger").child("Code")->children[0].field,
                 &CtrlData.DurationLevel[1]);
}

void TestCtrlTree::alternateGroupsByType_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("edge") << "EDGE" << QStringList{"Trig type", "Slope",       "Coupling",
                                                   "Level",     "Sensitivity", "Holdoff"};
    QTest::newRow("pulse") << "PULSE"
                           << QStringList{"Trig type", "Pulse mode",  "Pulse width", "Coupling",
                                          "Level",     "Sensitivity", "Holdoff"};
    QTest::newRow("video") << "VIDEO" << QStringList{"Trig type",   "Polarity",       "Sync",
                                                     "Line number", "Video Standard", "Level",
                                                     "Sensitivity", "Holdoff"};
    QTest::newRow("slope") << "SLOPE"
                           << QStringList{"Trig type", "Slope mode", "Slope time",  "Coupling",
                                          "LevelA",    "LevelB",     "Sensitivity", "Holdoff"};
}

void TestCtrlTree::alternateGroupsByType() {
    QFETCH(QString, type);
    QFETCH(QStringList, rows);
    CtrlData.TrigMethod = "ALTERNATIVE";
    CtrlData.AltType2 = type;
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, true);
    const CtrlTreeNode* ch2 = section(root, "Trigger").child("CH2");
    QVERIFY(ch2);
    QCOMPARE(captions(*ch2), rows);
    QCOMPARE(captions(*section(root, "Trigger").child("CH1")).size(),
             6); // channel 1 stays an edge group
    QCOMPARE(section(root, "Time Base").child("CH2")->child("Delay")->field, &CtrlData.AltDelay2);
}

void TestCtrlTree::digitalSourceDropsAnalogueRows() {
    CtrlData.EdgeSource = "D3";
    QCOMPARE(captions(section(BuildCtrlTreeModel(CtrlData, true), "Trigger")),
             (QStringList{"Method", "Slope", "Source", "Mode", "Holdoff"}));
    CtrlData.TrigMethod = "PULSE";
    CtrlData.PulseSource = "D15";
    QCOMPARE(captions(section(BuildCtrlTreeModel(CtrlData, true), "Trigger")),
             (QStringList{"Method", "Source", "Pulse mode", "Pulse width", "Mode", "Holdoff"}));
    // The test looks at the method's own source only.
    CtrlData.TrigMethod = "VIDEO";
    CtrlData.VideoSource = "D1";
    QVERIFY(section(BuildCtrlTreeModel(CtrlData, true), "Trigger").child("Level"));
}

void TestCtrlTree::averagesOnlyForAverageAcquisition() {
    QCOMPARE(captions(section(BuildCtrlTreeModel(CtrlData, true), "Acquire")),
             (QStringList{"Acquisition", "Sampling Mode"}));
    CtrlData.Acquisition = "AVERAGE";
    QCOMPARE(captions(section(BuildCtrlTreeModel(CtrlData, true), "Acquire")),
             (QStringList{"Acquisition", "Sampling Mode", "Averages"}));
    CtrlData.Acquisition = "PEAKDETECT";
    QCOMPARE(captions(section(BuildCtrlTreeModel(CtrlData, true), "Acquire")).size(), 2);
}

void TestCtrlTree::laSectionOnlyWithDigitalChannels() {
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, false);
    QVERIFY(!root.child("LA"));
    QCOMPARE(root.children.size(), qsizetype(8));
}

void TestCtrlTree::rowTextsAndImages() {
    const CtrlTreeNode root = BuildCtrlTreeModel(CtrlData, true);
    QCOMPARE(section(root, "Time Base").child("Time/Div")->text(), QString("Time/Div [10.00us]"));
    QCOMPARE(section(root, "Running Control").child("Auto Set")->text(), QString("Auto Set"));
    QCOMPARE(section(root, "Running Control").child("Auto Set")->image, int(kImageCommand));
    QCOMPARE(section(root, "CH1").image, int(kImageSection));
    QCOMPARE(section(root, "CH1").child("Offset")->image, int(kImageValue));
    QCOMPARE(section(root, "LA").child("Position")->children[0].text(), QString("D15 [0]"));
    ApplyLanguage(kLanguageChinese);
    QCOMPARE(section(root, "CH1").child("Volt/Div")->text(), QString::fromUtf8("档位 [1.00V]"));
}

void TestCtrlTree::splitCutsTheValue() {
    const CtrlPathParts p = SplitCtrlPath("NQ4000L\\Trigger\\CH2\\Level [0.00div]");
    QCOMPARE(p.root, QString("NQ4000L"));
    QCOMPARE(p.level1, QString("Trigger"));
    QCOMPARE(p.level2, QString("CH2"));
    QCOMPARE(p.level3, QString("Level"));
    const CtrlPathParts q = SplitCtrlPath("NQ4000L\\CH1\\Volt/Div [1.00V]");
    QCOMPARE(q.level2, QString("Volt/Div"));
    QCOMPARE(q.level3, QString(" "));
    QCOMPARE(SplitCtrlPath("NQ4000L\\Running Control\\Auto Set").level2, QString("Auto Set"));
}

void TestCtrlTree::keysOfRows_data() {
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("key");
    const int dialog = int(CtrlRowAction::Dialog);
    QTest::newRow("run state alone")
        << "EDGE"
        << "NQ4000L\\Running Control\\Run|Stop [RUN]" << dialog << "Run|Stop";
    QTest::newRow("channel row") << "EDGE"
                                 << "NQ4000L\\CH1\\Volt/Div [1.00V]" << dialog << "CH1Volt/Div";
    QTest::newRow("la threshold") << "EDGE"
                                  << "NQ4000L\\LA\\Threshold [TTL]" << dialog << "LAThreshold";
    QTest::newRow("time base") << "EDGE"
                               << "NQ4000L\\Time Base\\Format [Y-T]" << dialog << "Time BaseFormat";
    QTest::newRow("alternate level")
        << "ALTERNATIVE"
        << "NQ4000L\\Trigger\\CH2\\Level [0.00div]" << dialog << "TriggerCH2Level";
    QTest::newRow("pattern code") << "PATTERN"
                                  << "NQ4000L\\Trigger\\Code\\D7 [H]" << dialog << "TriggerCodeD7";
    QTest::newRow("la channel") << "EDGE"
                                << "NQ4000L\\LA\\Channel\\D15 [OFF]" << dialog << "LAChannelD15";
    QTest::newRow("group alone") << "EDGE"
                                 << "NQ4000L\\LA\\Channel" << int(CtrlRowAction::Nothing) << "";
    QTest::newRow("section alone") << "EDGE"
                                   << "NQ4000L\\Trigger" << int(CtrlRowAction::Nothing) << "";
    QTest::newRow("row of another method")
        << "EDGE"
        << "NQ4000L\\Trigger\\Pulse mode [+Less Than]" << int(CtrlRowAction::Nothing) << "";
    QTest::newRow("auto set") << "EDGE"
                              << "NQ4000L\\Running Control\\Auto Set" << int(CtrlRowAction::AutoSet)
                              << "";
    QTest::newRow("trig 50") << "EDGE"
                             << "NQ4000L\\Running Control\\Set Trig to 50%"
                             << int(CtrlRowAction::TrigTo50) << "";
    QTest::newRow("force") << "EDGE"
                           << "NQ4000L\\Running Control\\Force Trigger"
                           << int(CtrlRowAction::ForceTrigger) << "";
    QTest::newRow("clear") << "EDGE"
                           << "NQ4000L\\Display\\Clear" << int(CtrlRowAction::DisplayClear) << "";
    QTest::newRow("la reset") << "EDGE"
                              << "NQ4000L\\LA\\Reset" << int(CtrlRowAction::LaReset) << "";
    QTest::newRow("virtual panel")
        << "EDGE"
        << "NQ4000L\\Virtual Panel" << int(CtrlRowAction::VirtualPanel) << "";
}

void TestCtrlTree::keysOfRows() {
    QFETCH(QString, method);
    QFETCH(QString, path);
    QFETCH(int, action);
    QFETCH(QString, key);
    CtrlData.TrigMethod = method;
    const CtrlRowMatch m = MatchCtrlPath(SplitCtrlPath(path));
    QCOMPARE(int(m.action), action);
    QCOMPARE(m.key, key);
}

void TestCtrlTree::keysAreInTheCurrentLanguage() {
    ApplyLanguage(kLanguageChinese);
    CtrlData = CtrlDataDefaults();
    const CtrlRowMatch m =
        MatchCtrlPath(SplitCtrlPath(QString::fromUtf8("NQ4000L\\CH2\\档位 [1.00V]")));
    QCOMPARE(int(m.action), int(CtrlRowAction::Dialog));
    QCOMPARE(m.key, QString::fromUtf8("CH2档位"));
    QCOMPARE(m.captions, (QStringList{"CH2", "Volt/Div"}));
    QCOMPARE(m.field, &CtrlData.Ch2VoltDiv);
    // An English path no longer names a row.
    QCOMPARE(int(MatchCtrlPath(SplitCtrlPath("NQ4000L\\CH2\\Volt/Div [1.00V]")).action),
             int(CtrlRowAction::Nothing));
}

QTEST_GUILESS_MAIN(TestCtrlTree)
#include "tst_ctrltree.moc"
