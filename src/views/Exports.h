// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The export dialogs every view shares: a picture as BMP (the first filter)
// or PNG, and the tab-separated texts as .xls or .txt; written through the
// safe writer, an error shown with the stop icon.
#include <QByteArray>
#include <QImage>
#include <QString>
#include <optional>

void ExportPicture(const QImage& picture);
std::optional<QString> AskTextExportPath();
// False (the error shown) when the file could not be written.
bool WriteExport(const QString& path, const QByteArray& bytes);

// "Export capture...": the capture for other tools (.sr, .vcd, .csv at full
// precision, .npz), with progress and a cancel for a long one.
struct Capture;
void ExportCapture(const Capture& capture);
// PulseView, when it is installed: the capture opened there as a session.
bool PulseViewInstalled();
void OpenInPulseView(const Capture& capture);
// The captions of the two choices, in the caption language.
QString ExportCaptureText();
QString OpenInPulseViewText();
