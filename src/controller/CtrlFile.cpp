// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/CtrlFile.h"

#include "controller/CtrlData.h"
#include "controller/CtrlState.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/SafeFile.h"
#include "platform/Status.h"
#include "platform/TextCodec.h"
#include "shared/AppIdentity.h"
#include "shared/FileFunc.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"

#include <QFile>
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
QByteArray unquoted(QByteArray line) {
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    const qsizetype first = line.indexOf('"');
    const qsizetype last = line.lastIndexOf('"');
    if (first >= 0 && last > first) line = line.mid(first + 1, last - first - 1);
    return line;
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
        return SaveControlFile(); // a save that did not happen keeps everything as it is
    default:
        return true;
    }
}

void openPath(const QString& path) {
    // A file that is refused or cannot be read does not become the current
    // one: a later Save must not overwrite it.
    const CtrlFileRead result = ReadControlFileChecked(path);
    if (result != CtrlFileRead::Refused) {
        ControlFilePath = path;
        CtrlDirty = false;
        AddRecentCtrl(path);
    }
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

CtrlFileRead ReadControlFileChecked(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        critical(file.errorString());
        return CtrlFileRead::Refused;
    }
    // UTF-8 as written here, or GBK from a Chinese Windows machine: the whole
    // file tells which, so one odd byte can not turn a line's text to noise.
    const QList<QByteArray> lines = file.readAll().split('\n');
    const bool utf8 = platform::IsValidUtf8(lines.join('\n'));
    auto text = [utf8](const QByteArray& line) {
        const QByteArray bytes = unquoted(line);
        return utf8 ? QString::fromUtf8(bytes) : platform::DecodeText(bytes);
    };
    if (lines.isEmpty() || text(lines[0]) != ControlFileIdentification()) {
        critical(MsgBadFile); // the record keeps its earlier values
        return CtrlFileRead::Refused;
    }
    qsizetype next = 1;
    for (QString* field : ControlFileFields(CtrlData)) {
        // The last piece after the final line end is no line.
        if (next >= lines.size() || (next == lines.size() - 1 && lines[next].isEmpty())) {
            critical(RuntimeErrorText("Input past end of file")); // what was read stays read
            return CtrlFileRead::CutShort;
        }
        *field = ShownForm(text(lines[next++])); // the file keeps the point
    }
    return CtrlFileRead::Whole;
}

bool ReadControlFile(const QString& path) {
    return ReadControlFileChecked(path) == CtrlFileRead::Whole;
}

bool WriteControlFile(const QString& path) {
    QByteArray bytes = quoted(ControlFileIdentification());
    // Numbers keep the point whatever the display's sign, so a file reads the
    // same on every machine.
    for (QString* field : ControlFileFields(CtrlData))
        bytes += quoted(PointForm(*field));
    const QString error = platform::WriteFileAtomically(path, bytes);
    if (error.isEmpty()) {
        platform::ShowStatus(SavedToText(path));
        return true;
    }
    critical(error); // the old file stays, and the record stays unsaved
    return false;
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
