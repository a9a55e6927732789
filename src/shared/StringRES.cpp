// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/StringRES.h"

#include <QHash>

#include <iterator>

QString MsgDeviceNotFound, MsgConnectTitle, MsgRefreshStub, MsgSysInfoUnavailable, MsgConnectFirst,
    MsgQueryOnly, MsgNumberOnly, MsgRootNameFixed, MsgBadZoom, MsgBadSheetFile, MsgTooManyFiles,
    MsgOpenSheetFirst, MsgBadFile, MsgCantConnect, MsgDeviceInit, MsgDeviceSend, MsgDeviceRead,
    MsgReadTimeout, MsgCantRead, MsgBadNumber, MsgFileFail, MsgBadChannelData, MsgFileError,
    MsgBadWaveform, MsgRs232Init, MsgBadPort, MsgRs232Send, MsgSaveSheet, MsgSaveCtrl,
    MsgPositionLimit;

QString WordRun, WordStop, WordOn, WordOff, WordUser, WordBig, WordSmall, WordEdge, WordPulse,
    WordVideo, WordSlope, WordAlternation, WordPattern, WordDuration, WordAcLine, WordCouplingAc,
    WordCouplingDc, WordCouplingLf, WordCouplingHf, WordCouplingGnd, WordSweepAuto, WordSweepNormal,
    WordSweepSingle, WordRising, WordFalling, WordBothEdges, WordPlusLess, WordMinusLess,
    WordPlusGreater, WordMinusGreater, WordPlusEqual, WordMinusEqual, WordPositive, WordNegative,
    WordAllLines, WordLine, WordOddField, WordEvenField, WordSlopePlusLess, WordSlopeMinusLess,
    WordSlopePlusGreater, WordSlopeMinusGreater, WordSlopePlusEqual, WordSlopeMinusEqual, WordLess,
    WordGreater, WordEqual, WordRealTime, WordEqualTime, WordAcqNormal, WordAcqPeak, WordAcqAverage,
    WordVectors, WordDots, WordGridFull, WordGridHalf, WordGridNone;

namespace {

struct MessageRow {
    QString* variable;
    TextRow text;
};

#define MSG(var, en, zh)                                                                           \
    {                                                                                              \
        &var, {                                                                                    \
#var, en, zh                                                                           \
        }                                                                                          \
    }
const MessageRow kMessages[] = {
    MSG(MsgDeviceNotFound, "Device not found!", "设备未找到!"),
    MSG(MsgConnectTitle, "Connect to Oscilloscope", "连接示波器"),
    MSG(MsgRefreshStub, "Add 'mnuViewRefresh_Click' code", "添加'mnuViewRefresh_Click'代码！"),
    MSG(MsgSysInfoUnavailable, "System Information Is Unavailable At This Time!",
        "该时刻系统信息不可得到！"),
    MSG(MsgConnectFirst, "Please Connect Oscilloscope First!", "请首先连接示波器！"),
    MSG(MsgQueryOnly, "This Item Query Only!", "该项仅可被查询！"),
    MSG(MsgNumberOnly, "Enter number only!", "只可输入数字！"),
    MSG(MsgRootNameFixed, "Name of Root Can't Change!", "根目录名称不可被修改！"),
    MSG(MsgBadZoom, "Invalid Zoom Factor!", "无效缩放因子！"),
    MSG(MsgBadSheetFile, "Data Sheet File Format is Invaild !", "数据文件格式无效！"),
    MSG(MsgTooManyFiles, "Exceed maximum file numbers limit!", "超过最大可创建文件数目上限！"),
    MSG(MsgOpenSheetFirst, "Please Open or Creat a Data Sheet First!",
        "请首先打开或创建一个数据浏览器"),
    MSG(MsgBadFile, "File Format is Invaild !", "文件格式无效！"),
    MSG(MsgCantConnect, "Can't Connect to Device!", "不能连接设备！"),
    MSG(MsgDeviceInit, "Device Init", "设备初始化"),
    MSG(MsgDeviceSend, "Device Send Message", "设备传送信息"),
    MSG(MsgDeviceRead, "Device Read Message", "设备读取信息"),
    MSG(MsgReadTimeout, "Read Device time out!", "读设备超时！"),
    MSG(MsgCantRead, "Can't Read data from Device!", "不能读取设备数据！"),
    MSG(MsgBadNumber, "Invalid Numeric!", "无效数值！"),
    MSG(MsgFileFail, "File utility fail!", "文件操作失败！"),
    MSG(MsgBadChannelData, "The channel's data is invalid!", "通道数据无效！"),
    MSG(MsgFileError, "The file format is error!", "文件格式错误！"),
    MSG(MsgBadWaveform, "Invalid waveform data!", "无效波形数据！"),
    MSG(MsgRs232Init, "RS232 Init", "RS232初始化"),
    MSG(MsgBadPort, "Invalid port number!", "无效端口数!"),
    MSG(MsgRs232Send, "RS232 Send Message", "RS232发送信息"),
    MSG(MsgSaveSheet, "Save the changes to the Data Sheet File? ",
        "是否保存对数据浏览器文件的更改？"),
    MSG(MsgSaveCtrl, "Save the changes to the Control File? ", "是否保存对控制器文件的更改？"),
    MSG(MsgPositionLimit, "Position at limit！", "位置到极限！"),
};
#undef MSG

struct WordRow {
    WordGroup group;
    QString* variable;
    TextRow text;
};

#define W(group, var, en, zh)                                                                      \
    {                                                                                              \
        WordGroup::group, &var, {                                                                  \
#var, en, zh                                                                           \
        }                                                                                          \
    }
// Rows of a group stand in the group's order; the mappings and the language
// change rely on that order.
const WordRow kWords[] = {
    W(RunState, WordRun, "RUN", "运行"),
    W(RunState, WordStop, "STOP", "停止"),
    W(Switch, WordOn, "ON", "打开"),
    W(Switch, WordOff, "OFF", "关闭"),
    W(Threshold, WordUser, "USER", "用户定义"),
    W(GroupSize, WordBig, "BIG", "大"),
    W(GroupSize, WordSmall, "SMALL", "小"),
    W(TriggerMethod, WordEdge, "EDGE", "边沿触发"),
    W(TriggerMethod, WordPulse, "PULSE", "脉宽触发"),
    W(TriggerMethod, WordVideo, "VIDEO", "视频触发"),
    W(TriggerMethod, WordSlope, "SLOPE", "斜率触发"),
    W(TriggerMethod, WordAlternation, "ALTERNATIVE", "交替触发"),
    W(TriggerMethod, WordPattern, "PATTERN", "码型触发"),
    W(TriggerMethod, WordDuration, "DURATION", "持续时间触发"),
    W(AcLineSource, WordAcLine, "AC", "市电"),
    W(Coupling, WordCouplingAc, "AC", "交流"),
    W(Coupling, WordCouplingDc, "DC", "直流"),
    W(Coupling, WordCouplingLf, "LF", "低频抑制"),
    W(Coupling, WordCouplingHf, "HF", "高频抑制"),
    W(Coupling, WordCouplingGnd, "GND", "接地"),
    W(Sweep, WordSweepAuto, "AUTO", "自动"),
    W(Sweep, WordSweepNormal, "NORMAL", "普通"),
    W(Sweep, WordSweepSingle, "SINGLE", "单次"),
    W(Edge, WordRising, "RISING", "上升沿"),
    W(Edge, WordFalling, "FALLING", "下降沿"),
    W(Edge, WordBothEdges, "ALTERNATION", "上升&下降沿"),
    W(PulseCondition, WordPlusLess, "+Less Than", "正脉宽小于"),
    W(PulseCondition, WordMinusLess, "-Less Than", "负脉宽小于"),
    W(PulseCondition, WordPlusGreater, "+Greater Than", "正脉宽大于"),
    W(PulseCondition, WordMinusGreater, "-Greater Than", "负脉宽大于"),
    W(PulseCondition, WordPlusEqual, "+Equal", "正脉宽等于"),
    W(PulseCondition, WordMinusEqual, "-Equal", "负脉宽等于"),
    W(Polarity, WordPositive, "POSITIVE", "正极性"),
    W(Polarity, WordNegative, "NEGATIVE", "负极性"),
    W(VideoSync, WordAllLines, "ALLlines", "所有行"),
    W(VideoSync, WordLine, "LINE", "指定行"),
    W(VideoSync, WordOddField, "ODDfield", "奇数场"),
    W(VideoSync, WordEvenField, "EVENfield", "偶数场"),
    W(SlopeCondition, WordSlopePlusLess, "+Less Than", "上升沿小于"),
    W(SlopeCondition, WordSlopeMinusLess, "-Less Than", "下降沿小于"),
    W(SlopeCondition, WordSlopePlusGreater, "+Greater Than", "上升沿大于"),
    W(SlopeCondition, WordSlopeMinusGreater, "-Greater Than", "下降沿大于"),
    W(SlopeCondition, WordSlopePlusEqual, "+Equal", "上升沿等于"),
    W(SlopeCondition, WordSlopeMinusEqual, "-Equal", "下降沿等于"),
    W(Qualifier, WordLess, "Less Than", "小于"),
    W(Qualifier, WordGreater, "Greater Than", "大于"),
    W(Qualifier, WordEqual, "Equal", "等于"),
    W(Sampling, WordRealTime, "REAL_TIME", "实时采样"),
    W(Sampling, WordEqualTime, "EQUAL_TIME", "等效采样"),
    W(AcquireType, WordAcqNormal, "NORMAL", "普通"),
    W(AcquireType, WordAcqPeak, "PEAKDETECT", "峰值检测"),
    W(AcquireType, WordAcqAverage, "AVERAGE", "平均"),
    W(DisplayType, WordVectors, "VECTORS", "矢量"),
    W(DisplayType, WordDots, "DOTS", "点"),
    W(Grid, WordGridFull, "FULL", "完全"),
    W(Grid, WordGridHalf, "HALF", "半网格"),
    W(Grid, WordGridNone, "NONE", "无"),
};
#undef W

const char* pick(const TextRow& row, int index) {
    return index == 0 ? row.chinese : row.english;
}

// The English texts stand before any language is chosen.
const bool kDesignerTexts = [] {
    ApplyMessageTable(1);
    ApplyDisplayWords(1);
    return true;
}();

} // namespace

void ApplyMessageTable(int index) {
    if (index != 0 && index != 1) return;
    for (const MessageRow& row : kMessages)
        *row.variable = QString::fromUtf8(pick(row.text, index));
}

void ApplyDisplayWords(int index) {
    if (index != 0 && index != 1) return;
    for (const WordRow& row : kWords)
        *row.variable = QString::fromUtf8(pick(row.text, index));
}

QList<QString> GroupWords(WordGroup group, int index) {
    QList<QString> words;
    if (index != 0 && index != 1) return words;
    for (const WordRow& row : kWords)
        if (row.group == group) words << QString::fromUtf8(pick(row.text, index));
    return words;
}

int GroupRowOf(WordGroup group, int index, const QString& word) {
    return GroupWords(group, index).indexOf(word);
}

QList<TextRow> MessageRows() {
    QList<TextRow> rows;
    for (const MessageRow& row : kMessages)
        rows << row.text;
    return rows;
}

QList<TextRow> DisplayWordRows() {
    QList<TextRow> rows;
    for (const WordRow& row : kWords)
        rows << row.text;
    return rows;
}

namespace {
bool chineseCaptions() {
    return MsgSaveSheet == QString::fromUtf8("是否保存对数据浏览器文件的更改？");
}
} // namespace

QString RuntimeErrorText(const QString& english) {
    if (!chineseCaptions()) return english;
    static const QHash<QString, QString> chinese = {
        {"Input past end of file", QString::fromUtf8("输入超出文件尾")},
        {"Type mismatch", QString::fromUtf8("类型不匹配")},
        {"Overflow", QString::fromUtf8("溢出")},
        {"Subscript out of range", QString::fromUtf8("下标越界")}};
    return chinese.value(english, english);
}

QString SettingsUnwritableText(const QString& path) {
    if (chineseCaptions())
        return QString::fromUtf8("设置无法保存到 ") + path +
               QString::fromUtf8("。程序继续使用当前设置运行。");
    return "The settings cannot be saved to " + path +
           ". The program goes on with the settings it has.";
}

QString SavedToText(const QString& path) {
    return (chineseCaptions() ? QString::fromUtf8("已保存到 ") : QStringLiteral("Saved to ")) +
           path;
}

QString ExportedToText(const QString& path) {
    return (chineseCaptions() ? QString::fromUtf8("已导出到 ") : QStringLiteral("Exported to ")) +
           path;
}

QString DownloadedText() {
    return chineseCaptions() ? QString::fromUtf8("已从示波器下载全部设置。")
                             : QStringLiteral("Downloaded every setting from the instrument.");
}

QString UploadedText() {
    return chineseCaptions() ? QString::fromUtf8("已将全部设置上传到示波器。")
                             : QStringLiteral("Uploaded every setting to the instrument.");
}

QString HelpUnavailableText(const QString& error) {
    if (chineseCaptions()) return QString::fromUtf8("无法打开帮助页面：") + error;
    return "The help page cannot be opened: " + error;
}
