// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/Picture.h"

#include "platform/Faults.h"

#include <QLocale>
#include <charconv>
#include <cmath>
#include <string>

namespace {

// A non-negative decimal number: digits with the point after `point` of them
// (point may be <= 0 or beyond the digits).
struct Decimal {
    std::string digits;
    int point = 0;
    bool zero() const { return digits.find_first_not_of('0') == std::string::npos; }
};

// The value's decimal form with the given significant digits.
Decimal decimalForm(double magnitude, int significant) {
    Decimal d;
    if (magnitude == 0 || !std::isfinite(magnitude)) {
        d.digits = std::string(static_cast<std::size_t>(significant), '0');
        d.point = 1;
        return d;
    }
    // to_chars never consults the C library's locale: the point and the
    // digits are the same under a comma locale.
    char buffer[64];
    const auto written = std::to_chars(buffer, buffer + sizeof buffer, magnitude,
                                       std::chars_format::scientific, significant - 1);
    const std::string text(buffer, written.ptr);
    const std::size_t e = text.find('e');
    for (std::size_t i = 0; i < e; ++i)
        if (text[i] != '.') d.digits += text[i];
    d.point = std::stoi(text.substr(e + 1)) + 1;
    return d;
}

// Rounds half away from zero so that `decimals` digits stand behind the point.
void roundAt(Decimal& d, int decimals) {
    const int keep = d.point + decimals; // digits that stay
    if (keep >= static_cast<int>(d.digits.size())) return;
    if (keep < 0) {
        d.digits = "0";
        d.point = 1;
        return;
    }
    const bool up = d.digits[static_cast<std::size_t>(keep)] >= '5';
    d.digits.resize(static_cast<std::size_t>(keep));
    if (up) {
        int i = keep - 1;
        for (; i >= 0; --i) {
            if (d.digits[static_cast<std::size_t>(i)] == '9') {
                d.digits[static_cast<std::size_t>(i)] = '0';
            } else {
                ++d.digits[static_cast<std::size_t>(i)];
                break;
            }
        }
        if (i < 0) {
            d.digits.insert(d.digits.begin(), '1');
            ++d.point;
        }
    }
    if (d.digits.empty()) {
        d.digits = "0";
        d.point = 1;
    }
}

struct PictureParts {
    QString prefix, suffix;
    int intZeros = 0, intPlaces = 0; // "0" and "#" before the point
    int decZeros = 0, decPlaces = 0; // "0" and all placeholders after the point
    bool point = false;
    bool percent = false;
    bool exponent = false, exponentPlus = false;
    int exponentDigits = 0;
};

PictureParts parsePicture(const QString& picture) {
    PictureParts p;
    int i = 0;
    const int n = static_cast<int>(picture.size());
    auto isPlace = [](QChar c) { return c == '0' || c == '#'; };
    while (i < n && !isPlace(picture[i]) && picture[i] != '.') {
        if (picture[i] == '%') p.percent = true;
        p.prefix += picture[i++];
    }
    for (; i < n && isPlace(picture[i]); ++i) {
        ++p.intPlaces;
        if (picture[i] == '0') ++p.intZeros;
    }
    if (i < n && picture[i] == '.') {
        p.point = true;
        for (++i; i < n && isPlace(picture[i]); ++i) {
            ++p.decPlaces;
            if (picture[i] == '0') p.decZeros = p.decPlaces;
        }
    }
    if (i + 1 < n && (picture[i] == 'E' || picture[i] == 'e') &&
        (picture[i + 1] == '+' || picture[i + 1] == '-')) {
        p.exponent = true;
        p.exponentPlus = picture[i + 1] == '+';
        for (i += 2; i < n && isPlace(picture[i]); ++i)
            ++p.exponentDigits;
    }
    for (; i < n; ++i) {
        if (picture[i] == '%') p.percent = true;
        p.suffix += picture[i];
    }
    return p;
}

QString digitsText(const Decimal& d, const PictureParts& p, QChar decimalSign) {
    std::string intPart, decPart;
    for (int k = 0; k < d.point; ++k)
        intPart +=
            k < static_cast<int>(d.digits.size()) ? d.digits[static_cast<std::size_t>(k)] : '0';
    for (int k = d.point; k < d.point + p.decPlaces; ++k)
        decPart += k >= 0 && k < static_cast<int>(d.digits.size())
                       ? d.digits[static_cast<std::size_t>(k)]
                       : '0';
    const std::size_t firstSignificant = intPart.find_first_not_of('0');
    intPart = firstSignificant == std::string::npos ? "" : intPart.substr(firstSignificant);
    if (static_cast<int>(intPart.size()) < p.intZeros)
        intPart.insert(0, static_cast<std::size_t>(p.intZeros) - intPart.size(), '0');
    while (static_cast<int>(decPart.size()) > p.decZeros && decPart.back() == '0')
        decPart.pop_back();
    QString text = QString::fromStdString(intPart);
    if (p.point) text += decimalSign + QString::fromStdString(decPart);
    return text;
}

} // namespace

QString FormatPicture(double value, const QString& picture, Precision precision,
                      QChar decimalSign) {
    const PictureParts p = parsePicture(picture);
    const int significant = static_cast<int>(precision);
    const bool negative = value < 0;
    Decimal d = decimalForm(std::fabs(value), significant);
    if (p.percent && !d.zero()) d.point += 2;

    QString body;
    if (p.exponent) {
        int exponent = 0;
        const int intDigits = p.intPlaces > 0 ? p.intPlaces : 1;
        if (!d.zero()) {
            exponent = d.point - intDigits;
            d.point = intDigits;
        }
        roundAt(d, p.decPlaces);
        if (d.point > intDigits) { // the rounding carried into a new digit
            exponent += d.point - intDigits;
            d.point = intDigits;
        }
        QString exponentText =
            QString::number(std::abs(exponent)).rightJustified(p.exponentDigits, QLatin1Char('0'));
        if (exponent < 0)
            exponentText.prepend('-');
        else if (p.exponentPlus)
            exponentText.prepend('+');
        body = digitsText(d, p, decimalSign) + "E" + exponentText;
    } else {
        roundAt(d, p.decPlaces);
        body = digitsText(d, p, decimalSign);
    }
    return (negative ? QStringLiteral("-") : QString()) + p.prefix + body + p.suffix;
}

namespace {
QChar g_displaySign;
}

void SetDisplayDecimalSign(QChar sign) {
    g_displaySign = sign;
}

QString SettingLineForFile(const QString& shown) {
    const qsizetype date = shown.indexOf(QLatin1String("[Date:"));
    if (date < 0) return PointForm(shown);
    return PointForm(shown.left(date)) + shown.mid(date);
}

QChar MachineDecimalSign() {
    if (!g_displaySign.isNull()) return g_displaySign;
    const QString point = QLocale().decimalPoint();
    return point.isEmpty() ? QLatin1Char('.') : point.at(0);
}

namespace {
QString swapDecimalSign(QString text, QChar from, QChar to) {
    if (from == to) return text;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != from) continue;
        const bool digitBefore = i > 0 && text[i - 1].isDigit();
        const bool digitAfter = i + 1 < text.size() && text[i + 1].isDigit();
        if (digitBefore || digitAfter) text[i] = to;
    }
    return text;
}
} // namespace

QString PointForm(const QString& shown) {
    return swapDecimalSign(shown, MachineDecimalSign(), QLatin1Char('.'));
}

QString ShownForm(const QString& withPoint) {
    return swapDecimalSign(withPoint, QLatin1Char('.'), MachineDecimalSign());
}

bool IsNumeric(const QString& text) {
    bool ok = false;
    PointForm(text.trimmed()).toDouble(&ok);
    return ok;
}

double Val(const QString& text) {
    std::string s;
    int i = 0;
    const int n = static_cast<int>(text.size());
    while (i < n && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    if (i < n && (text[i] == '+' || text[i] == '-')) s += static_cast<char>(text[i++].unicode());
    bool anyDigit = false;
    while (i < n && text[i].isDigit() && text[i].unicode() < 128) {
        s += static_cast<char>(text[i++].unicode());
        anyDigit = true;
    }
    if (i < n && text[i] == '.') {
        s += '.';
        ++i;
        while (i < n && text[i].isDigit() && text[i].unicode() < 128) {
            s += static_cast<char>(text[i++].unicode());
            anyDigit = true;
        }
    }
    if (!anyDigit) return 0;
    if (i < n && (text[i] == 'e' || text[i] == 'E')) {
        std::string exponent = "e";
        int j = i + 1;
        if (j < n && (text[j] == '+' || text[j] == '-'))
            exponent += static_cast<char>(text[j++].unicode());
        bool expDigit = false;
        while (j < n && text[j].isDigit() && text[j].unicode() < 128) {
            exponent += static_cast<char>(text[j++].unicode());
            expDigit = true;
        }
        if (expDigit) s += exponent;
    }
    double v = 0;
    const char* begin = s.data() + (s[0] == '+' ? 1 : 0); // from_chars takes no plus sign
    const auto read = std::from_chars(begin, s.data() + s.size(), v);
    if (read.ec == std::errc::result_out_of_range) return 0;
    return std::isfinite(v) ? v : 0;
}

float ValSingle(const QString& text) {
    return static_cast<float>(Val(text));
}

namespace {
QString numberText(double value, QChar decimalSign, bool strForm) {
    if (value == 0) return strForm ? QStringLiteral(" 0") : QStringLiteral("0");
    const bool negative = value < 0;
    Decimal d = decimalForm(std::fabs(value), 15);
    while (d.digits.size() > 1 && d.digits.back() == '0')
        d.digits.pop_back();
    const int exponent = d.point - 1;
    QString body;
    if (exponent < -4 || exponent >= 15) {
        body = QString::fromStdString(d.digits.substr(0, 1));
        if (d.digits.size() > 1) body += decimalSign + QString::fromStdString(d.digits.substr(1));
        body += QString("E%1%2")
                    .arg(exponent < 0 ? '-' : '+')
                    .arg(std::abs(exponent), 2, 10, QLatin1Char('0'));
    } else if (d.point <= 0) {
        body = (strForm ? QString() : QStringLiteral("0")) + decimalSign + QString(-d.point, '0') +
               QString::fromStdString(d.digits);
    } else {
        const std::string& digits = d.digits;
        std::string intPart = digits.substr(
            0, std::min<std::size_t>(digits.size(), static_cast<std::size_t>(d.point)));
        intPart.append(static_cast<std::size_t>(d.point) > digits.size()
                           ? static_cast<std::size_t>(d.point) - digits.size()
                           : 0,
                       '0');
        body = QString::fromStdString(intPart);
        if (static_cast<int>(digits.size()) > d.point)
            body += decimalSign +
                    QString::fromStdString(digits.substr(static_cast<std::size_t>(d.point)));
    }
    if (negative) return "-" + body;
    return strForm ? " " + body : body;
}
} // namespace

QString StrNumber(double value) {
    return numberText(value, QLatin1Char('.'), true);
}
QString CStrNumber(double value, QChar decimalSign) {
    return numberText(value, decimalSign, false);
}

short CIntHalfEven(double value) {
    const double r = std::nearbyint(value); // the default rounding mode is half to even
    if (!(r >= -32768.0 && r <= 32767.0)) throw platform::ArithmeticFault("overflow");
    return static_cast<short>(r);
}
