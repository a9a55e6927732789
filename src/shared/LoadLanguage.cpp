// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/LoadLanguage.h"

#include "platform/Settings.h"
#include "shared/AppIdentity.h"

#include <QCoreApplication>
#include <QHash>
#include <QLibraryInfo>
#include <QTranslator>
#include <map>

int LanguageIndex = kLanguageEnglish;

namespace {

int g_captionLanguage = kLanguageEnglish;

// ---- form captions, keyed "form.control" -------------------------------------
const TextRow kFormCaptions[] = {
    // frmMain: menus (mnemonics as the menus carry them)
    {"frmMain.Caption", "Korvane", "Korvane"},
    {"frmMain.mnuFile", "&File", "文件(&F)"},
    {"frmMain.mnuFileNew", "&New", "新建(&N)"},
    {"frmMain.mnuFileOpen", "&Open...", "打开(&O)..."},
    {"frmMain.mnuFileSaveDataSheet", "&Save Data Sheet", "保存数据浏览器(&S)"},
    {"frmMain.mnuFileSaveCtrlFile", "Save C&ontroller", "保存控制器(&O)"},
    {"frmMain.mnuFileSaveAll", "Save A&ll", "全部保存(&L)"},
    {"frmMain.mnuFilePageSetup", "Page Set&up...", "页面设置(&U)..."},
    {"frmMain.mnuRecentCtrlRoot", "&Recent Control File", "最近的控制器文件(&R)"},
    {"frmMain.mnuRecentSheetRoot", "Recen&t Data Sheet File", "最近的数据浏览器文件(&T)"},
    {"frmMain.mnuFileExit", "E&xit", "退出(&X)"},
    {"frmMain.mnuView", "&View", "视图(&V)"},
    {"frmMain.mnuViewToolbar", "&Toolbar", "工具栏(&T)"},
    {"frmMain.mnuViewStatusBar", "Status &Bar", "状态栏(&B)"},
    {"frmMain.mnuViewController", "Show &Controller", "显示控制器(&C)"},
    {"frmMain.mnuViewDataBrowser", "Show &Data Browser", "显示数据浏览器(&D)"},
    {"frmMain.mnuTools", "&Tools", "工具(&T)"},
    {"frmMain.mnuToolsConnect", "&Connect to Oscilloscope", "连接示波器(&C)"},
    {"frmMain.mnuToolsDisconnect", "&Disconnect", "断开连接(&D)"},
    {"frmMain.mnuToolsOptions", "&Options...", "选项(&O)..."},
    {"frmMain.mnuWindow", "&Window", "窗口(&W)"},
    {"frmMain.mnuWindowCascade", "&Cascade", "层叠(&C)"},
    {"frmMain.mnuWindowTileHorizontal", "Tile &Horizontal", "水平平铺(&H)"},
    {"frmMain.mnuWindowTileVertical", "Tile &Vertical", "垂直平铺(&V)"},
    {"frmMain.mnuWindowArrangeIcons", "&Arrange Icons", "排列图标(&A)"},
    {"frmMain.mnuHelp", "&Help", "帮助(&H)"},
    {"frmMain.mnuHelpContents", "Contents", "目录"},
    {"frmMain.mnuHelpAbout", "&About...", "关于(&A)..."},
    {"frmMain.mnuHelpLanguage", "Language", "语言"},
    {"frmMain.mnuLanguageChinese", "Chinese", "中文"},
    {"frmMain.mnuLanguageEnglish", "English", "英文"},
    // frmMain: tool tips, lamps, status panel, panes
    {"frmMain.tbNew", "New", "新建"},
    {"frmMain.tbOpen", "Open", "打开"},
    {"frmMain.tbSave", "Save All", "全部保存"},
    {"frmMain.tbConnect", "Connect to Oscilloscope", "连接示波器"},
    {"frmMain.tbDisconnect", "Disconnect", "断开连接"},
    {"frmMain.tbController", "DSO Controller", "示波器控制器"},
    {"frmMain.tbDataBrowser", "Data Browser ", "数据浏览器 "},
    {"frmMain.tbAddNewWaveform", "Add New Waveform ", "添加新波形 "},
    {"frmMain.tbAddNewMeasure", "Add New Measure ", "添加新测量 "},
    {"frmMain.tbAddNewData", "Add New Data ", "添加新数据 "},
    {"frmMain.tbAddNewRecord", "Add New Record ", "添加新录制 "},
    {"frmMain.tbAddNewMemoryWaveform", "Add New Memory Waveform ", "添加新存储波形 "},
    {"frmMain.tbOptions", "Options", "选项"},
    {"frmMain.tbFFT", "FFT", "FFT"},
    {"frmMain.picLED_OFF", "Connection Status-[Disconnected]", "连接状态-[未连接]"},
    {"frmMain.picLED_ON", "Connection Status-[Connected]", "连接状态-[已连接]"},
    {"frmMain.StatusIdle", "Status: ", "状态: "},
    {"frmMain.paneDataSheet", "Data Sheet", "数据浏览器"},
    {"frmMain.paneController", "DSO Controller", "示波器控制器"},
    // frmDataSheetTree
    {"frmDataSheetTree.mnuNewSheet", "&New Data Sheet", "新建数据浏览器(&N)"},
    {"frmDataSheetTree.mnuOpenSheet", "&Open Data Sheet", "打开数据浏览器(&O)"},
    {"frmDataSheetTree.mnuSaveSheet", "&Save Data Sheet", "保存数据浏览器(&S)"},
    {"frmDataSheetTree.mnuSaveAsSheet", "Sa&ve Data Sheet As", "数据浏览器另存为(&V)"},
    {"frmDataSheetTree.mnuAddNew", "&Add New", "添加(&A)"},
    {"frmDataSheetTree.mnuSorted", "So&rted", "排序(&R)"},
    {"frmDataSheetTree.mnuAddWave", "&Waveform", "波形(&W)"},
    {"frmDataSheetTree.mnuAddMeasure", "&Measure", "测量(&M)"},
    {"frmDataSheetTree.mnuAddData", "&Data", "数据(&D)"},
    {"frmDataSheetTree.mnuAddRecord", "&Record", "录制(&R)"},
    {"frmDataSheetTree.mnuAddMemory", "M&emory waveform", "存储波形(&E)"},
    // frmCtrlList and its pop-up menu
    {"frmCtrlList.Caption", "DSO Controller", "示波器控制器"},
    {"frmCtrlList.cmdUpload", "     Upload", "     上传"},
    {"frmCtrlList.cmdDownload", "     Download", "     下载"},
    {"frmCtrlList.cmdUpload.tip", "Upload To Scope", "上传到示波器"},
    {"frmCtrlList.cmdDownload.tip", "Download To Software", "下载到软件"},
    {"frmCtrlList.mnuNewCtrl", "&New Control File", "新建控制器文件(&N)"},
    {"frmCtrlList.mnuOpenCtrl", "&Open Control File", "打开控制器文件(&O)"},
    {"frmCtrlList.mnuSaveCtrl", "&Save Control File", "保存控制器文件(&S)"},
    {"frmCtrlList.mnuSaveAsCtrl", "Save Control File &As", "控制器文件另存为(&A)"},
    {"frmCtrlList.mnuConnect", "&Connect To DSO", "连接示波器(&C)"},
    {"frmCtrlList.mnuDisconnect", "D&isconnect", "断开连接(&I)"},
    {"frmCtrlList.mnuUpload", "&Upload", "上传(&U)"},
    {"frmCtrlList.mnuDownLoad", "&Download", "下载(&D)"},
    {"frmCtrlList.mnuExpand", "&Expand All", "全部展开(&E)"},
    // frmNewDoc, frmOpenDoc
    {"frmNewDoc.Caption", "New Document", "新建文档"},
    {"frmNewDoc.fraFileType", "File Type", "文件类型"},
    {"frmNewDoc.optType1", "Data Sheet", "数据浏览器"},
    {"frmNewDoc.optType2", "Controller", "控制器"},
    {"frmNewDoc.optType3", "Wave", "波形"},
    {"frmNewDoc.optType4", "Measure", "测量"},
    {"frmNewDoc.optType5", "Wave Data", "波形数据"},
    {"frmNewDoc.optType6", "Record", "录制"},
    {"frmNewDoc.optType7", "Memory Wave", "存储波形"},
    {"frmNewDoc.cmdOK", "OK", "确定"},
    {"frmNewDoc.cmdCancel", "Cancel", "取消"},
    {"frmOpenDoc.Caption", "New Document", "新建文档"},
    {"frmOpenDoc.fraFileType", "File Type", "文件类型"},
    {"frmOpenDoc.optType1", "Data Sheet", "数据浏览器"},
    {"frmOpenDoc.optType2", "Controller", "控制器"},
    {"frmOpenDoc.cmdOK", "OK", "确定"},
    {"frmOpenDoc.cmdCancel", "Cancel", "取消"},
    // frmOptions
    // frmDataLogger
    {"frmDataLogger.Caption", "Data Logger", "数据记录器"},
    {"frmDataLogger.lblMeasures", "Measures:", "测量项:"},
    {"frmDataLogger.lblInterval", "Interval (s):", "间隔 (秒):"},
    {"frmDataLogger.lblCount", "Samples:", "采样数:"},
    {"frmDataLogger.lblDatabase", "Database:", "数据库:"},
    {"frmDataLogger.chkScreens", "Keep failing screens", "保留失败时的屏幕"},
    {"frmDataLogger.cmdStart", "Start", "开始"},
    {"frmDataLogger.cmdStop", "Stop", "停止"},
    {"frmDataLogger.Endless", "until stopped", "直到停止"},
    {"frmDataLogger.Stopping", "Stopping after this sample ...", "本次采样后停止..."},
    {"frmDataLogger.NotConnected", "Connect to the oscilloscope first (Tools > Connect).",
     "请先连接示波器 (工具 > 连接示波器)。"},
    {"frmDataLogger.Logged", "%1 samples logged", "已记录 %1 个采样"},
    {"frmDataLogger.Done", "%1 samples logged into %2", "已记录 %1 个采样到 %2"},
    {"frmDataLogger.NoScreen", "No screen was kept for that sample.", "该采样没有保存屏幕。"},
    {"frmDataLogger.cmdOpen", "Open log", "打开记录"},
    {"frmDataLogger.cmdCancel", "Cancel", "取消"},
    {"frmDataLogger.Reading", "Reading the log: %1 %", "正在读取记录: %1 %"},
    {"frmDataLogger.Opened", "%1 samples of %2 from %3; drag across the plot to look closer",
     "%2 的 %1 个采样, 始于 %3; 在图上拖动以放大"},
    {"frmDataLogger.OpenedSpan", "%1 samples of %2 from %3 to %4; double-click for the whole log",
     "%2 的 %1 个采样, 从 %3 到 %4; 双击显示全部记录"},
    {"frmDataLogger.NoFile", "%1: no such log", "%1: 记录不存在"},
    {"frmDataLogger.UnitFraction", "fraction", "比例"},
    {"frmMain.mnuToolsDataLogger", "Data &Logger...", "数据记录器(&L)..."},
    {"frmOptions.Caption", "Options", "选项"},
    {"frmOptions.tabGeneral", "General", "常规"},
    {"frmOptions.tabRefresh", "Refresh", "刷新"},
    {"frmOptions.tabCommunication", "Communication Setting", "通讯设置"},
    {"frmOptions.cmdOK", "OK", "确定"},
    {"frmOptions.cmdCancel", "Cancel", "取消"},
    {"frmOptions.fraIO", "IO Selection", "接口选择"},
    {"frmOptions.PortSelectOption0", "USB", "USB"},
    {"frmOptions.PortSelectOption2", "RS232", "RS232"},
    {"frmOptions.fraStartup", "Startup Option", "启动选项"},
    {"frmOptions.HardwareCheck", "Startup Hardware Check", "启动时检测硬件"},
    {"frmOptions.SheetStartLoadChk", "Recent Data Sheet File Load",
     "启动时载入最近的数据浏览器文件"},
    {"frmOptions.CtrlStartLoadChk", "Recent Control File Load", "启动时载入最近的控制器文件"},
    {"frmOptions.fraTime", "Time Setting", "时间设置"},
    {"frmOptions.OptRefreshType0", "Single", "单次"},
    {"frmOptions.OptRefreshType1", "Auto", "自动"},
    {"frmOptions.labInterval", "Interval", "间隔"},
    {"frmOptions.labSeconds", "s", "秒"},
    {"frmOptions.fraRS232", "RS232 Setting", "RS232设置"},
    {"frmOptions.labPort", "RS232 Port", "RS232端口"},
    {"frmOptions.labPortDevice", "Port device", "端口设备"},
    {"frmOptions.labBaud", "Baud Rate", "波特率"},
    {"frmOptions.fraUSB", "USB", "USB"},
    {"frmOptions.labDevice", "Device", "设备"},
    {"frmOptions.fraGPIB", "GPIB Setting", "GPIB设置"},
    {"frmOptions.labAddress", "Address", "地址"},
    {"frmOptions.labCurDeviceTitle", "Current Device:", "当前设备:"},
    {"frmOptions.NoDevice", "No Device", "无设备"},
    // DlgResource
    {"DlgResource.Caption", "Resource ", "当前系统中的资源"},
    {"DlgResource.lstRsource", "Choose a resource", "选择设备资源"},
    {"DlgResource.OKButton", "OK", "确定"},
    {"DlgResource.CancelButton", "Cancel", "取消"},
    // frmV_Panel, frmV_Key
    {"frmV_Panel.Caption", "Virtual Panel", "虚拟面板"},
    {"frmV_Panel.fraControl", "Control", "控制"},
    {"frmV_Panel.cmdRun", "Run", "运行"},
    {"frmV_Panel.cmdStop", "Stop", "停止"},
    {"frmV_Panel.fraOutput", "Output", "输出"},
    {"frmV_Panel.cmdExport", "Export  ", "导出  "},
    {"frmV_Panel.cmdPrint", "Print    ", "打印    "},
    {"frmV_Panel.cmdPreview", "      Preview", "      预览"},
    {"frmV_Panel.cmdExport.tip", "Export", "导出"},
    {"frmV_Panel.cmdPrint.tip", "Print", "打印"},
    {"frmV_Panel.cmdPreview.tip", "Print Preview", "打印预览"},
    {"frmV_Panel.fraDisplay", "Display", "显示"},
    {"frmV_Panel.labZoom", "Zoom", "缩放"},
    {"frmV_Key.Caption", "Virtual Keyboard", "虚拟键盘"},
    // CtrlDialogAdjust
    {"CtrlDialogAdjust.optCoarse", "Coarse", "粗调"},
    {"CtrlDialogAdjust.optFine", "Fine", "细调"},
    {"CtrlDialogAdjust.cmdOK", "OK", "确定"},
    {"CtrlDialogAdjust.cmdCancel", "Cancel", "取消"},
    // frmPassFailed
    {"frmPassFailed.Caption", "Pass | Fail Settings", "通过 | 失败设置"},
    {"frmPassFailed.fraType", "Select Measure Type", "选择测量类型"},
    {"frmPassFailed.chkEnabled", "Enabled", "启用"},
    {"frmPassFailed.fraRange", "Pass Range Settings", "通过范围设置"},
    {"frmPassFailed.labUnder", "Under Limit Setting", "下限设置"},
    {"frmPassFailed.labOver", "Over Limit Setting", "上限设置"},
    {"frmPassFailed.cmdOK", "OK", "确定"},
    {"frmPassFailed.cmdCancel", "Cancel", "取消"},
    // frmWave
    {"frmWave.cmdRefresh", "     Refresh", "     刷新"},
    {"frmWave.mnuRefresh", "Refresh", "刷新"},
    {"frmWave.fraDisplay", "Display", "显示"},
    {"frmWave.labZoom", "Zoom", "缩放"},
    {"frmWave.cmdBestFit", "Best Fit", "最佳尺寸"},
    {"frmWave.optColor", "Color", "彩色"},
    {"frmWave.optBW", "B&&W", "黑白"},
    {"frmWave.chkGrid", "Grid", "网格"},
    {"frmWave.fraCursor", "Cursor", "光标"},
    {"frmWave.optCursorX", "CursorX", "X光标"},
    {"frmWave.optCursorY", "CursorY", "Y光标"},
    {"frmWave.fraOutput", "Output", "输出"},
    {"frmWave.cmdExport", "Export", "导出"},
    {"frmWave.cmdPrint", "Print", "打印"},
    {"frmWave.cmdPreview", "     Preview", "     预览"},
    {"frmWave.cmdRefresh.tip", "Refresh Data(F5)", "刷新数据(F5)"},
    {"frmWave.cmdPreview.tip", "Print Preview", "打印预览"},
    {"frmWave.labRefreshing", "Refreshing", "正在刷新"},
    // frmData
    {"frmData.cmdRefresh", " Refresh", " 刷新"},
    {"frmData.cmdExport", "Export", "导出"},
    {"frmData.colNo", "NO.", "序号"},
    {"frmData.colTime", "Time[S]", "时间[S]"},
    {"frmData.colVoltage", "Voltage[V]", "电压[V]"},
    {"frmData.cmdRefresh.tip", "Refresh Data(F5)", "刷新数据(F5)"},
    {"frmData.fraOutput", "Output", "输出"},
    // frmMeasure
    {"frmMeasure.cmdRefresh", " Refresh", " 刷新"},
    {"frmMeasure.cmdExport", "Export", "导出"},
    {"frmMeasure.cmdPassFail", "Pass | Fail  ", "通过 | 失败  "},
    {"frmMeasure.colType", "Type", "类型"},
    {"frmMeasure.colValue", "Value", "数值"},
    {"frmMeasure.colUnder", "Under Limit", "下限"},
    {"frmMeasure.colOver", "Over Limit", "上限"},
    {"frmMeasure.colPassFail", "Pass&Fail", "通过&失败"},
    {"frmMeasure.cmdRefresh.tip", "Refresh Data(F5)", "刷新数据(F5)"},
    {"frmMeasure.fraOutput", "Output", "输出"},
    // frmRecordPlay (tool tips and prompts)
    {"frmRecordPlay.cmdOpen.tip", "Open record file", "打开录制文件"},
    {"frmRecordPlay.optColor.tip", "Color", "彩色"},
    {"frmRecordPlay.optMono.tip", "Mono Color", "单色"},
    {"frmRecordPlay.cmdSave.tip", "Save to bitmap file", "保存为位图文件"},
    {"frmRecordPlay.cmdPrint.tip", "Print", "打印"},
    {"frmRecordPlay.cmdPreview.tip", "Print Preview", "打印预览"},
    {"frmRecordPlay.cmdPlay.tip", "Replay", "回放"},
    {"frmRecordPlay.cmdPause.tip", "Pause", "暂停"},
    {"frmRecordPlay.cmdStop.tip", "Stop", "停止"},
    {"frmRecordPlay.cmdFirst.tip", "Go to start", "转到开始"},
    {"frmRecordPlay.cmdLast.tip", "Go to end", "转到结尾"},
    {"frmRecordPlay.cmdPrev.tip", "The last frame", "上一帧"},
    {"frmRecordPlay.cmdNext.tip", "Then next frame", "下一帧"},
    {"frmRecordPlay.chkLoop.tip", "Circulation and single replay", "循环和单次回放"},
    {"frmRecordPlay.cmdInterval.tip", "Default Time Interval Setting", "默认时间间隔设置"},
    {"frmRecordPlay.labPrompt", "Please open the waveform record file.", "请打开波形录制文件。"},
    {"frmRecordPlay.labReplaying", "Replaying", "正在回放"},
    // frmOpenWaveform
    {"frmOpenWaveform.cmdOpen", "Open", "打开"},
    {"frmOpenWaveform.fraFile", " File", " 文件"},
    {"frmOpenWaveform.fraDisplay", "Display", "显示"},
    {"frmOpenWaveform.labZoom", "Zoom", "缩放"},
    {"frmOpenWaveform.optColor", "Color", "彩色"},
    {"frmOpenWaveform.optBW", "B&&W", "黑白"},
    {"frmOpenWaveform.chkGrid", "Grid", "网格"},
    {"frmOpenWaveform.fraCursor", "Cursor", "光标"},
    {"frmOpenWaveform.optCursorX", "CursorX", "X光标"},
    {"frmOpenWaveform.optCursorY", "CursorY", "Y光标"},
    {"frmOpenWaveform.fraOutput", "Output", "输出"},
    {"frmOpenWaveform.cmdBitmap", "       Bitmap", "       位图"},
    {"frmOpenWaveform.cmdPrint", "       Print", "       打印"},
    {"frmOpenWaveform.cmdPreview", "     Preview", "     预览"},
    {"frmOpenWaveform.cmdReset", "Reset", "复位"},
    {"frmOpenWaveform.labTimeDiv", "Time/Div", "时基"},
    {"frmOpenWaveform.cmdOpen.tip", "Open waveform File", "打开波形文件"},
    {"frmOpenWaveform.cmdCSV.tip", "Output CSV", "输出CSV"},
    {"frmOpenWaveform.cmdBitmap.tip", "Output Bitmap", "输出位图"},
    {"frmOpenWaveform.cmdPrint.tip", "Print", "打印"},
    {"frmOpenWaveform.cmdPreview.tip", "Print Preview", "打印预览"},
    // frmSplash, frmAbout
    {"frmSplash.labVersion", "Version ", "版本 "},
    {"frmAbout.Caption", "About Korvane", "关于 Korvane"},
    {"frmAbout.labVersion", "Version ", "版本 "},
    {"frmAbout.cmdOK", "OK", "确定"},
    {"frmAbout.cmdSysInfo", "System Info...", "系统信息..."},
};

// ---- tree and parameter labels, keyed by the English text --------------------
const TextRow kTreeLabels[] = {
    {"CH1", "CH1", "CH1"},
    {"CH2", "CH2", "CH2"},
    {"LA", "LA", "LA"},
    {"H", "H", "H"},
    {"L", "L", "L"},
    {"X", "X", "X"},
    {"D15", "D15", "D15"},
    {"D14", "D14", "D14"},
    {"D13", "D13", "D13"},
    {"D12", "D12", "D12"},
    {"D11", "D11", "D11"},
    {"D10", "D10", "D10"},
    {"D9", "D9", "D9"},
    {"D8", "D8", "D8"},
    {"D7", "D7", "D7"},
    {"D6", "D6", "D6"},
    {"D5", "D5", "D5"},
    {"D4", "D4", "D4"},
    {"D3", "D3", "D3"},
    {"D2", "D2", "D2"},
    {"D1", "D1", "D1"},
    {"D0", "D0", "D0"},
    {"D15-D8", "D15-D8", "D15-D8"},
    {"D7-D0", "D7-D0", "D7-D0"},
    {"D15-D0", "D15-D0", "D15-D0"},
    {"Running Control", "Running Control", "运行控制"},
    {"Run|Stop", "Run|Stop", "运行|停止"},
    {"Auto Set", "Auto Set", "自动设置"},
    {"Set Trig to 50%", "Set Trig to 50%", "设置触发电平为50%"},
    {"Force Trigger", "Force Trigger", "强制触发"},
    {"Display", "Display", "显示"},
    {"Volt/Div", "Volt/Div", "档位"},
    {"Offset", "Offset", "偏移"},
    {"Coupling", "Coupling", "耦合"},
    {"BW Limit", "BW Limit", "带宽限制"},
    {"Probe", "Probe", "探头"},
    {"Invert", "Invert", "反相"},
    {"Channel", "Channel", "通道"},
    {"Position", "Position", "位置"},
    {"Reset", "Reset", "复位"},
    {"Threshold", "Threshold", "门限"},
    {"Size", "Size", "尺寸"},
    {"Time Base", "Time Base", "水平系统"},
    {"Time/Div", "Time/Div", "时基"},
    {"Delay", "Delay", "延迟"},
    {"Holdoff", "Holdoff", "释抑时间"},
    {"Memory Size", "Memory Size", "存储深度"},
    {"Format", "Format", "格式"},
    {"Trigger", "Trigger", "触发系统"},
    {"Method", "Method", "触发方式"},
    {"Source", "Source", "信源"},
    {"Slope", "Slope", "斜率"},
    {"Mode", "Mode", "触发模式"},
    {"Polarity", "Polarity", "极性"},
    {"Sync", "Sync", "同步"},
    {"Line number", "Line number", "行号"},
    {"Video Standard", "Video Standard", "视频制式"},
    {"Pulse mode", "Pulse mode", "脉宽条件"},
    {"Pulse width", "Pulse width", "脉冲宽度"},
    {"Slope mode", "Slope mode", "斜率条件"},
    {"Slope time", "Slope time", "斜率时间"},
    {"Slope Window", "Slope Window", "斜率窗口"},
    {"Trig type", "Trig type", "触发类型"},
    {"Code", "Code", "码型"},
    {"Rising", "Rising", "上升沿"},
    {"Falling", "Falling", "下降沿"},
    {"Qualifier", "Qualifier", "限定条件"},
    {"Duration time", "Duration time", "持续时间"},
    {"Level", "Level", "电平"},
    {"LevelA", "LevelA", "电平A"},
    {"LevelB", "LevelB", "电平B"},
    {"Sensitivity", "Sensitivity", "灵敏度"},
    {"Acquire", "Acquire", "采样系统"},
    {"Sampling Mode", "Sampling Mode", "采样方式"},
    {"Persistence", "Persistence", "余辉时间"},
    {"Acquisition", "Acquisition", "获取方式"},
    {"Averages", "Averages", "平均次数"},
    {"Intensity", "Intensity", "亮度"},
    {"Anti-aliasing", "Anti-aliasing", "抗混叠"},
    {"Type", "Type", "显示类型"},
    {"Persist", "Persist", "余辉"},
    {"Grid", "Grid", "网格"},
    {"Clear", "Clear", "清除"},
    {"Virtual Keyboard", "Virtual Keyboard", "虚拟键盘"},
    {"Virtual Panel", "Virtual Panel", "虚拟面板"},
    {"Untitle", "Untitle", "未命名"},
    {"Data Sheet", "Data Sheet", "数据浏览器"},
};

// ---- measure names, in slot order ----------------------------------------------
const TextRow kMeasureNames[kMeasureCount] = {
    {"Vpp", "Vpp", "峰峰值"},
    {"Vmax", "Vmax", "最大值"},
    {"Vmin", "Vmin", "最小值"},
    {"Vavg", "Vavg", "平均值"},
    {"Vamp", "Vamp", "幅度"},
    {"Vrms", "Vrms", "均方根值"},
    {"Vtop", "Vtop", "顶端值"},
    {"Vbase", "Vbase", "底端值"},
    {"Vpre", "Vpre", "预冲"},
    {"Vover", "Vover", "过冲"},
    {"Frequency", "Frequency", "频率"},
    {"Period", "Period", "周期"},
    {"Rise Time", "Rise Time", "上升时间"},
    {"Fall Time", "Fall Time", "下降时间"},
    {"Pulse Width+", "Pulse Width+", "正脉宽"},
    {"Pulse Width-", "Pulse Width-", "负脉宽"},
    {"Duty+", "Duty+", "正占空比"},
    {"Duty-", "Duty-", "负占空比"},
};

const char* pick(const TextRow& row, int index) {
    return index == 0 ? row.chinese : row.english;
}

template <std::size_t N>
const QHash<QString, const TextRow*>& indexByKey(const TextRow (&rows)[N]) {
    static const QHash<QString, const TextRow*> index = [&rows] {
        QHash<QString, const TextRow*> h;
        for (const TextRow& row : rows)
            h.insert(QString::fromUtf8(row.key), &row);
        return h;
    }();
    return index;
}

std::map<int, CaptionRoutine>& captionRoutines() {
    static std::map<int, CaptionRoutine> routines;
    return routines;
}
int g_nextRoutineId = 1;

WordFieldProvider& fieldProvider() {
    static WordFieldProvider provider;
    return provider;
}

template <std::size_t N> QList<TextRow> toList(const TextRow (&rows)[N]) {
    return QList<TextRow>(std::begin(rows), std::end(rows));
}

} // namespace

void LoadLanguageSetting() {
    LanguageIndex =
        platform::GetSettingInt(kAppTitle, "Korvane_Language", "Language", kLanguageEnglish);
}

void SaveLanguageSetting() {
    platform::SaveSetting(kAppTitle, "Korvane_Language", "Language",
                          QString::number(LanguageIndex));
}

int CaptionLanguage() {
    return g_captionLanguage;
}

QString FormText(const char* form, const char* control) {
    const QString key = QString::fromUtf8(form) + "." + QString::fromUtf8(control);
    const TextRow* row = indexByKey(kFormCaptions).value(key);
    return row ? QString::fromUtf8(pick(*row, g_captionLanguage)) : QString();
}

QString TreeLabel(const QString& english) {
    const TextRow* row = indexByKey(kTreeLabels).value(english);
    return row ? QString::fromUtf8(pick(*row, g_captionLanguage)) : english;
}

QString MeasureName(int slot) {
    if (slot < 0 || slot >= kMeasureCount) return QString();
    return QString::fromUtf8(pick(kMeasureNames[slot], g_captionLanguage));
}

QString HelpFileName() {
    return g_captionLanguage == kLanguageChinese ? "NQ4000help_Chinese.html" : "NQ4000help.html";
}

namespace {
// Qt's own texts (the standard buttons, the file and print dialogs) follow
// the language through Qt's translations, from Debian's qt6-translations-l10n.
void applyQtTranslation(int index) {
    static QTranslator* translator = nullptr;
    if (!QCoreApplication::instance()) return;
    if (translator) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
        translator = nullptr;
    }
    if (index != kLanguageChinese) return;
    auto* t = new QTranslator;
    if (t->load("qtbase_zh_CN", QLibraryInfo::path(QLibraryInfo::TranslationsPath)) ||
        t->load("qtbase_zh_CN",
                QCoreApplication::applicationDirPath() + "/../share/korvane/translations")) {
        QCoreApplication::installTranslator(t);
        translator = t;
    } else {
        delete t;
    }
}
} // namespace

bool QtTranslationLoaded() {
    return !QCoreApplication::translate("QPlatformTheme", "Cancel").isEmpty() &&
           QCoreApplication::translate("QPlatformTheme", "Cancel") != QLatin1String("Cancel");
}

void ApplyLanguage(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    applyQtTranslation(index);
    g_captionLanguage = index; // help file, tree labels, measure names, form captions
    ApplyMessageTable(index);
    ApplyDisplayWords(index);
    // Copy first: a routine may add or remove routines (a form closing).
    const auto routines = captionRoutines();
    for (const auto& [id, routine] : routines)
        routine(index);
}

int AddCaptionRoutine(CaptionRoutine routine) {
    const int id = g_nextRoutineId++;
    captionRoutines()[id] = std::move(routine);
    return id;
}

void RemoveCaptionRoutine(int id) {
    captionRoutines().erase(id);
}

void SetTranslatableFields(WordFieldProvider provider) {
    fieldProvider() = std::move(provider);
}

void TranslateFields(const QList<WordField>& fields, int index, int oldIndex) {
    const auto valid = [](int i) { return i == kLanguageChinese || i == kLanguageEnglish; };
    if (!valid(index) || !valid(oldIndex)) return;
    for (const WordField& field : fields) {
        const int row = GroupRowOf(field.group, oldIndex, *field.value);
        if (row >= 0) *field.value = GroupWords(field.group, index).at(row);
    }
}

void TranslateParameters(int index, int oldIndex) {
    if (fieldProvider()) TranslateFields(fieldProvider()(), index, oldIndex);
}

void SwitchLanguage(int index) {
    const int oldIndex = LanguageIndex;
    LanguageIndex = index;
    ApplyLanguage(LanguageIndex);
    TranslateParameters(LanguageIndex, oldIndex);
    SaveLanguageSetting();
}

QList<TextRow> FormCaptionRows() {
    return toList(kFormCaptions);
}
QList<TextRow> TreeLabelRows() {
    return toList(kTreeLabels);
}
QList<TextRow> MeasureNameRows() {
    return toList(kMeasureNames);
}
