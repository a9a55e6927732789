// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/ReadoutText.h"

#include "shared/Picture.h"

namespace {
QString show(double value, const char* picture, const char* unit) {
    return FormatPicture(value, picture, Precision::Double, MachineDecimalSign()) + unit;
}
} // namespace

QString ConvertVoltToStr(double volts) {
    if (volts < 1) return show(volts * 1000, "0.0", "mV");
    return show(volts, "0.0", "V");
}

QString ConvertTimeToStr(double seconds) {
    if (seconds >= 1) return show(seconds, "0.00", "s");
    if (seconds >= 0.001) return show(seconds * 1000, "0.00", "ms");
    if (seconds >= 1e-6) return show(seconds * 1e6, "0.00", "us");
    if (seconds >= 1e-9) return show(seconds * 1e9, "0.00", "ns");
    if (seconds >= 1e-12) return show(seconds * 1e12, "0.00", "ps");
    // Below a picosecond but above zero nothing is written: the text stays empty.
    return seconds <= 0 ? ShownForm(QStringLiteral("0.000s")) : QString();
}

QString ConvertFreqToStr(double hertz) {
    if (hertz >= 1e9) return show(hertz / 1e9, "0.00", "GHz");
    if (hertz >= 1e6) return show(hertz / 1e6, "0.00", "MHz");
    if (hertz >= 1000) return show(hertz / 1000, "0.00", "KHz");
    return show(hertz, "0.00", "Hz");
}

double GetTimeVlu(const QString& text) {
    const qsizetype at = text.indexOf('s');
    if (at < 0) return 0;
    if (at == 0) return Val(text.left(at));
    const QChar prefix = text[at - 1];
    const double number = Val(text.left(prefix.isDigit() ? at : at - 1));
    switch (prefix.unicode()) {
    case 'p':
        return number / 1e12;
    case 'n':
        return number / 1e9;
    case 'u':
        return number / 1e6;
    case 'm':
        return number / 1000;
    default:
        return number;
    }
}
