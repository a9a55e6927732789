// SPDX-License-Identifier: GPL-3.0-or-later
// The English and Chinese text tables and the switch between them.
#include "TestPlatform.h"

#include "shared/LoadLanguage.h"
#include "shared/StringRES.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QSet>
#include <QtTest>

class TestLanguage : public QObject {
    Q_OBJECT
private slots:
    void qtStandardButtonsSpeakChinese();
    void init() { ApplyLanguage(kLanguageEnglish); }
    void cleanupTestCase() { ApplyLanguage(kLanguageEnglish); }
    void everyRowHasBothLanguages();
    void applyLanguageSwitchesEveryTable();
    void otherIndexesChangeNothing();
    void captionRoutinesRunInOrder();
    void translateFieldsByGroup();
    void translationRoundTrips();
    void switchStoresTheChoiceAtOnce();
};

void TestLanguage::everyRowHasBothLanguages() {
    const QList<QList<TextRow>> tables = {MessageRows(), DisplayWordRows(), FormCaptionRows(),
                                          TreeLabelRows(), MeasureNameRows()};
    for (const QList<TextRow>& table : tables) {
        QSet<QString> keys;
        for (const TextRow& row : table) {
            QVERIFY2(!QString::fromUtf8(row.english).isEmpty(), row.key);
            QVERIFY2(!QString::fromUtf8(row.chinese).isEmpty(), row.key);
            QVERIFY2(!keys.contains(row.key), row.key); // no key twice
            keys.insert(row.key);
        }
    }
}

void TestLanguage::applyLanguageSwitchesEveryTable() {
    ApplyLanguage(kLanguageChinese);
    QCOMPARE(MsgDeviceNotFound, QString::fromUtf8("设备未找到!"));
    QCOMPARE(MsgPositionLimit, QString::fromUtf8("位置到极限！"));
    QCOMPARE(WordCouplingAc, QString::fromUtf8("交流"));
    QCOMPARE(WordAcLine, QString::fromUtf8("市电"));
    QCOMPARE(WordSweepNormal, QString::fromUtf8("普通"));
    QCOMPARE(WordAcqNormal, QString::fromUtf8("普通"));
    QCOMPARE(TreeLabel("Volt/Div"), QString::fromUtf8("档位"));
    QCOMPARE(TreeLabel("Time Base"), QString::fromUtf8("水平系统"));
    QCOMPARE(TreeLabel("Virtual Panel"), QString::fromUtf8("虚拟面板"));
    QCOMPARE(TreeLabel("D15-D8"), QString("D15-D8"));
    QCOMPARE(MeasureName(0), QString::fromUtf8("峰峰值"));
    QCOMPARE(FormText("DlgResource", "Caption"), QString::fromUtf8("当前系统中的资源"));
    QCOMPARE(FormText("frmOptions", "NoDevice"), QString::fromUtf8("无设备"));
    QCOMPARE(HelpFileName(), QString("NQ4000help_Chinese.html"));
    ApplyLanguage(kLanguageEnglish);
    QCOMPARE(MsgDeviceNotFound, QString("Device not found!"));
    QCOMPARE(TreeLabel("Volt/Div"), QString("Volt/Div"));
    QCOMPARE(HelpFileName(), QString("NQ4000help.html"));
}

void TestLanguage::otherIndexesChangeNothing() {
    ApplyLanguage(7);
    QCOMPARE(MsgConnectFirst, QString("Please Connect Oscilloscope First!"));
    QCOMPARE(FormText("frmMain", "mnuFile"), QString("&File"));
    ApplyLanguage(kLanguageChinese);
    ApplyLanguage(-1);
    QCOMPARE(WordOn, QString::fromUtf8("打开"));
}

void TestLanguage::captionRoutinesRunInOrder() {
    QStringList calls;
    const int a = AddCaptionRoutine([&calls](int i) { calls << QString("a%1").arg(i); });
    const int b = AddCaptionRoutine([&calls](int i) { calls << QString("b%1").arg(i); });
    ApplyLanguage(kLanguageChinese);
    ApplyLanguage(3);
    RemoveCaptionRoutine(a);
    ApplyLanguage(kLanguageEnglish);
    RemoveCaptionRoutine(b);
    QCOMPARE(calls, (QStringList{"a0", "b0", "b1"}));
}

void TestLanguage::translateFieldsByGroup() {
    QString source = "AC", coupling = "AC", pulse = "+Less Than", slope = "+Less Than";
    QString level = "0.10div", threshold = "TTL", sweep = "NORMAL", acquire = "NORMAL";
    const QList<WordField> fields = {
        {&source, WordGroup::AcLineSource},  {&coupling, WordGroup::Coupling},
        {&pulse, WordGroup::PulseCondition}, {&slope, WordGroup::SlopeCondition},
        {&level, WordGroup::Switch},         {&threshold, WordGroup::Threshold},
        {&sweep, WordGroup::Sweep},          {&acquire, WordGroup::AcquireType}};
    TranslateFields(fields, kLanguageChinese, kLanguageEnglish);
    QCOMPARE(source, QString::fromUtf8("市电"));
    QCOMPARE(coupling, QString::fromUtf8("交流"));
    QCOMPARE(pulse, QString::fromUtf8("正脉宽小于"));
    QCOMPARE(slope, QString::fromUtf8("上升沿小于"));
    QCOMPARE(level, QString("0.10div")); // numbers stay
    QCOMPARE(threshold, QString("TTL")); // words the table does not know stay
    QCOMPARE(sweep, QString::fromUtf8("普通"));
    QCOMPARE(acquire, QString::fromUtf8("普通"));
    // A fixed English word in a Chinese store stays English on the way back.
    QString fixed = "+Less Than";
    TranslateFields({{&fixed, WordGroup::PulseCondition}}, kLanguageEnglish, kLanguageChinese);
    QCOMPARE(fixed, QString("+Less Than"));
    // An unknown old index translates nothing.
    TranslateFields(fields, kLanguageEnglish, 4);
    QCOMPARE(coupling, QString::fromUtf8("交流"));
}

void TestLanguage::translationRoundTrips() {
    QList<QString> values;
    QList<WordGroup> groups;
    for (WordGroup g : {WordGroup::TriggerMethod, WordGroup::VideoSync, WordGroup::Grid,
                        WordGroup::Edge, WordGroup::Qualifier, WordGroup::Sampling}) {
        for (const QString& w : GroupWords(g, kLanguageEnglish)) {
            values << w;
            groups << g;
        }
    }
    const QList<QString> original = values;
    QList<WordField> fields;
    for (int i = 0; i < values.size(); ++i)
        fields << WordField{&values[i], groups[i]};
    TranslateFields(fields, kLanguageChinese, kLanguageEnglish);
    for (int i = 0; i < values.size(); ++i)
        QVERIFY(values[i] != original[i]);
    TranslateFields(fields, kLanguageEnglish, kLanguageChinese);
    QCOMPARE(values, original);
}

void TestLanguage::switchStoresTheChoiceAtOnce() {
    TestPlatform tp;
    QString method = "EDGE";
    SetTranslatableFields([&method] {
        return QList<WordField>{{&method, WordGroup::TriggerMethod}};
    });
    LanguageIndex = kLanguageEnglish;
    SwitchLanguage(kLanguageChinese);
    QCOMPARE(method, QString::fromUtf8("边沿触发"));
    LanguageIndex = -5;
    LoadLanguageSetting();
    QCOMPARE(LanguageIndex, kLanguageChinese);
    SwitchLanguage(kLanguageEnglish);
    QCOMPARE(method, QString("EDGE"));
    SetTranslatableFields({});
}

void TestLanguage::qtStandardButtonsSpeakChinese() {
    ApplyLanguage(kLanguageChinese);
    {
        QMessageBox box;
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        QVERIFY2(QtTranslationLoaded(), "qtbase_zh_CN from qt6-translations-l10n");
        QVERIFY(box.button(QMessageBox::Yes)->text().contains(QString::fromUtf8("是")));
        QVERIFY(box.button(QMessageBox::Cancel)->text().contains(QString::fromUtf8("取消")));
    }
    ApplyLanguage(kLanguageEnglish);
    QMessageBox box;
    box.setStandardButtons(QMessageBox::Yes);
    QCOMPARE(box.button(QMessageBox::Yes)->text().remove('&'), QString("Yes"));
}

QTEST_MAIN(TestLanguage)
#include "tst_language.moc"
