// SPDX-License-Identifier: GPL-3.0-or-later
// korvane-cli decode: a capture file through protocol decoders, one
// annotation a line (or one JSON object a line).
#include "cli/CliCommands.h"
#include "decode/Decode.h"
#include "decode/DecodeStacks.h"
#include "export/CaptureExport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

namespace {

decode::DecodeSetup setupOf(const CliRequest& r, QString* error) {
    return decode::CheckedSetupOfTexts(r.decoders, r.threshold, r.hysteresis, error);
}

QString jsonLine(const decode::DecodeResult& result, const decode::Annotation& a) {
    const decode::AnnotationRow& row = result.rows[a.row];
    QJsonObject o;
    o["start"] = static_cast<qint64>(a.start);
    o["end"] = static_cast<qint64>(a.end);
    o["time"] = result.timeOf(a.start);
    o["decoder"] = row.decoder;
    o["row"] = row.id;
    o["texts"] = QJsonArray::fromStringList(a.texts);
    return QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact));
}

} // namespace

QString CheckDecodeWords(const CliRequest& r) {
    if (r.decoders.isEmpty())
        return "usage: korvane-cli decode FILE.wfm -P DECODER[:KEY=VALUE...][,DECODER...]";
    QString error;
    setupOf(r, &error);
    return error;
}

int RunDecodeCommand(const CliRequest& r) {
    QString error;
    const decode::DecodeSetup setup = setupOf(r, &error);
    if (!error.isEmpty()) return CliFail(error);
    bool analog = false;
    for (const decode::DecodeStack& s : setup.stacks)
        analog = analog || s.usesAnalog();
    const Capture capture = CaptureOfFile(r.args[0], r.frame, &error, analog);
    if (capture.samples() == 0) return CliFail(error);
    const decode::DecodeResult result =
        decode::RunDecode(setup, decode::InputOfCapture(capture, setup));
    QString text;
    for (const decode::Annotation& a : result.annotations) {
        text += r.json ? jsonLine(result, a) : decode::AnnotationLine(result, a);
        text += '\n';
        if (text.size() > 65536) {
            CliOut(text);
            text.clear();
        }
    }
    CliOut(text);
    return result.error.isEmpty() ? 0 : CliFail(result.error, 1);
}
