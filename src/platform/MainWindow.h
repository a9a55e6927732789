// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The program's main window, where the subsystems' windows take their parent
// and their size from; none in tests and in the command line.
class QWidget;

namespace platform {

QWidget* MainWindow();
void SetMainWindow(QWidget* window); // nullptr when it goes

} // namespace platform
