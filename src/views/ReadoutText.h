// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The cursor read-out texts of the waveform views (machine decimal sign; the
// callers that need a point replace the comma).
#include <QString>

QString ConvertVoltToStr(double volts);   // "250.0mV", "1.5V"
QString ConvertTimeToStr(double seconds); // "12.50us"; "0.000s" at 0 or below
QString ConvertFreqToStr(double hertz);   // "1.00KHz"
// "10.0us" -> 1e-5: the prefix in front of "s" scales; no "s" gives 0.
double GetTimeVlu(const QString& text);
