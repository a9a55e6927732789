#include "controller/CtrlFile.h"

#include "app/AppIdentity.h"
#include "app/FileFunc.h"
#include "app/LoadLanguage.h"
#include "app/StringRES.h"
#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"

#include <QFile>
#include <QSaveFile>
#include <QStringDecoder>

namespace {

void critical(const QString& text) {
    platform::MsgBox(text, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
}

// One field as a line: the text between quotes. A line end inside the text
// would break the file's line structure, so it becomes a blank.
QByteArray quoted(QString text) {
    text.replace('\r', ' ').replace('\n', ' ');
    return "\"" + text.toUtf8() + "\"\r\n";
}

// The text between the first and the last quote of the line; the whole line
// without its end when it has no two quotes. Quotes inside stay.
QString unquoted(QByteArray line) {
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    const qsizetype first = line.indexOf('"');
    const qsizetype last = line.lastIndexOf('"');
    if (first >= 0 && last > first) line = line.mid(first + 1, last - first - 1);
    return QString::fromUtf8(line);
}

QString fileFilter(bool saveAs) {
    const QString word =
        CaptionLanguage() == kLanguageChinese ? QString::fromUtf8("控制器文件 ") : "Control Files ";
    QString filter = word + "(*.rmt)|*.rmt";
    if (saveAs) filter += "|Text Files (*.txt)|*.txt|All Files (*.*)|*.*";
    return filter;
}

QString dialogTitle(const char* english, const char* chinese) {
    return CaptionLanguage() == kLanguageChinese ? QString::fromUtf8(chinese) : QString(english);
}

// The prompt before New, Open and OpenCtrl; false when the user cancelled.
bool promptToSave() {
    if (!CtrlDirty) return true;
    const QString text = ControlFilePath.isEmpty() ? MsgSaveCtrl : ControlFilePath + MsgSaveCtrl;
    switch (platform::MsgBox(text, platform::MsgButtons::YesNoCancel, platform::MsgIcon::Question,
                             kAppTitle)) {
    case platform::MsgResult::Cancel:
        return false;
    case platform::MsgResult::Yes:
        mnuSaveCtrl_Click();
        return true;
    default:
        return true;
    }
}

void openPath(const QString& path) {
    ControlFilePath = path;
    ReadControlFile(path);
    CtrlDirty = false;
    AddRecentCtrl(path);
    CtrlTreeChanged(CtrlTreeChange::Shape);
}

void saveTo(const QString& path) {
    if (!WriteControlFile(path)) return;
    ControlFilePath = path;
    CtrlDirty = false;
    AddRecentCtrl(path);
}

} // namespace

QString ControlFileIdentification() {
    return MakerName + " " + ProductName + " Controller";
}

bool ReadControlFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        critical(file.errorString());
        return false;
    }
    if (unquoted(file.readLine()) != ControlFileIdentification()) {
        critical(MsgBadFile); // the record keeps its earlier values
        return false;
    }
    for (QString* field : ControlFileFields(CtrlData)) {
        if (file.atEnd()) {
            critical("Input past end of file"); // what was read stays read
            return false;
        }
        *field = unquoted(file.readLine());
    }
    return true;
}

bool WriteControlFile(const QString& path) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        critical(file.errorString());
        return false;
    }
    file.write(quoted(ControlFileIdentification()));
    for (QString* field : ControlFileFields(CtrlData))
        file.write(quoted(*field));
    if (!file.commit()) {
        critical(file.errorString());
        return false;
    }
    return true;
}

void mnuNewCtrl_Click() {
    if (!promptToSave()) return;
    // LaSizeHigh and LaSizeLow have no place in a control file, but New sets them too.
    CtrlData = CtrlDataDefaults();
    ControlFilePath.clear();
    CtrlTreeChanged(CtrlTreeChange::Shape);
    CtrlDirty = false;
}

void mnuOpenCtrl_Click() {
    if (!promptToSave()) return;
    platform::FileDialogRequest r;
    r.title = dialogTitle("Open", "打开");
    r.filter = fileFilter(false);
    r.fileMustExist = true;
    const auto path = platform::ShowFileDialog(r);
    if (!path || path->isEmpty()) return;
    openPath(*path);
}

void OpenCtrl(const QString& path) {
    if (!promptToSave()) return;
    openPath(path);
}

void mnuSaveCtrl_Click() {
    QString path = ControlFilePath;
    if (path.isEmpty()) {
        platform::FileDialogRequest r;
        r.save = true;
        r.title = dialogTitle("Save", "保存");
        r.filter = fileFilter(false);
        const auto chosen = platform::ShowFileDialog(r);
        if (!chosen || chosen->isEmpty()) return;
        path = *chosen;
        if (!path.contains('.')) path += ".rmt"; // the extension the filter forces
    }
    saveTo(path);
}

void mnuSaveAsCtrl_Click() {
    platform::FileDialogRequest r;
    r.save = true;
    r.title = dialogTitle("Save As", "另存为");
    r.filter = fileFilter(true);
    r.initialPath = ControlFilePath;
    const auto chosen = platform::ShowFileDialog(r);
    if (!chosen || chosen->isEmpty()) return;
    saveTo(*chosen);
}

bool SaveControlFile() {
    mnuSaveCtrl_Click();
    return !CtrlDirty;
}
