// SPDX-License-Identifier: GPL-3.0-or-later
#include "shared/ValueText.h"

#include "shared/Picture.h"
#include "shared/ReplyText.h"
#include "shared/StringRES.h"

#include <QHash>
#include <cmath>
#include <initializer_list>
#include <utility>

bool ValueTextValid = false;

// ---- text to number ------------------------------------------------------------

namespace {

struct Prefix {
    char letter;
    double factor;
    bool divide; // "divided by" and "times" round differently, so keep which
};

bool holdsOutOfRangeMark(const QString& text) {
    return text.contains('>') || text.contains('*') || text.contains('<');
}

const Prefix* findPrefix(QChar c, std::initializer_list<Prefix> prefixes, Prefix& out) {
    for (const Prefix& p : prefixes)
        if (c == QLatin1Char(p.letter)) {
            out = p;
            return &out;
        }
    return nullptr;
}

double invalid() {
    ValueTextValid = false;
    return 0;
}

double parseWithUnit(const QString& raw, QChar unit, std::initializer_list<Prefix> prefixes) {
    if (holdsOutOfRangeMark(raw)) return invalid();
    const QString text = PointForm(CutAtLineFeed(raw)); // a display text, in any locale
    const qsizetype at = text.indexOf(unit);
    if (at <= 0) return invalid();
    const QChar before = text[at - 1];
    Prefix prefix{};
    double value = 0;
    if (findPrefix(before, prefixes, prefix)) {
        value = Val(text.left(at - 1));
        value = prefix.divide ? value / prefix.factor : value * prefix.factor;
    } else if (before >= '0' && before <= '9') {
        value = Val(text.left(at));
    } else {
        return invalid();
    }
    ValueTextValid = true;
    return value;
}

} // namespace

double ParsePercentText(const QString& text) {
    const double v = parseWithUnit(text, '%', {});
    return ValueTextValid ? v / 100 : v;
}

double ParseFreqText(const QString& text) {
    return parseWithUnit(
        text, 'H', {{'G', 1e9, false}, {'M', 1e6, false}, {'k', 1000, false}, {'m', 1000, true}});
}

double ParseVoltText(const QString& text) {
    return parseWithUnit(text, 'V',
                         {{'p', 1e12, true},
                          {'n', 1e9, true},
                          {'u', 1e6, true},
                          {'m', 1000, true},
                          {'k', 1000, false}});
}

double ParseTimeText(const QString& text) {
    return parseWithUnit(
        text, 's', {{'p', 1e12, true}, {'n', 1e9, true}, {'u', 1e6, true}, {'m', 1000, true}});
}

double ParseVoltTextWide(const QString& text) {
    return parseWithUnit(
        text, 'V', {{'u', 1e6, true}, {'m', 1000, true}, {'k', 1000, false}, {'M', 1e6, false}});
}

QString TimeTextToExpText(const QString& shown) {
    if (holdsOutOfRangeMark(shown)) return QString();
    const QString text = PointForm(shown);
    const qsizetype at = text.indexOf('s');
    if (at <= 0) return QString();
    const QChar before = text[at - 1];
    static const QHash<QChar, QString> exponents = {
        {'p', "E-12"}, {'n', "E-9"}, {'u', "E-6"}, {'m', "E-3"}};
    QString exponent;
    qsizetype numberEnd = at;
    if (exponents.contains(before)) {
        exponent = exponents.value(before);
        numberEnd = at - 1;
    } else if (!(before >= '0' && before <= '9')) {
        return QString();
    }
    return FormatPicture(Val(text.left(numberEnd)), "0.000###########", Precision::Double) +
           exponent;
}

// ---- the Norm family ------------------------------------------------------------

namespace {
// A ladder row: the magnitude bound, and how a value at or above it shows.
struct Rung {
    double bound;
    double scale; // multiply by scale (0 = no scaling: the 32-bit value itself)
    bool divide;  // divide by scale instead of multiplying
    const char* picture;
    const char* unit;
};

QString formatRung(float x, const Rung& r, bool singleScaling) {
    const QChar sign = MachineDecimalSign();
    if (r.scale == 0) return FormatPicture(x, r.picture, Precision::Single, sign) + r.unit;
    if (singleScaling) {
        const float scaled =
            r.divide ? x / static_cast<float>(r.scale) : x * static_cast<float>(r.scale);
        return FormatPicture(scaled, r.picture, Precision::Single, sign) + r.unit;
    }
    const double wide = x;
    const double scaled = r.divide ? wide / r.scale : wide * r.scale;
    return FormatPicture(scaled, r.picture, Precision::Double, sign) + r.unit;
}

// Runs a symmetric ladder: the first rung whose bound the value reaches at or
// above, or on the negative side at or below the mirrored bound.
const Rung* symmetricRung(double x, const Rung* rungs, int count) {
    for (int i = 0; i < count; ++i)
        if (x >= rungs[i].bound || x <= -rungs[i].bound) return &rungs[i];
    return nullptr;
}

QString normTime(const QString& text, int digits) {
    // Pictures for 3, 4 and 5 significant digits.
    static const char* const pictures[3][3] = {
        {"###", "##.0", "#.00"}, {"###.0", "##.00", "#.000"}, {"###.00", "##.000", "#.0000"}};
    static const char* const smaller[3] = {"0.00s", "0.000s", "0.0000s"};
    const int d = digits - 3;
    struct Decade {
        double bound, scale;
        bool divide;
        const char* unit;
    };
    static const Decade decades[] = {
        {99.999, 0, false, "s"},         {9.9999, 0, false, "s"},
        {0.99999, 0, false, "s"},        {0.099999, 1000, false, "ms"},
        {0.0099999, 1000, false, "ms"},  {0.00099999, 1000, false, "ms"},
        {9.9999e-5, 1e6, false, "us"},   {9.9999e-6, 1e6, false, "us"},
        {9.9999e-7, 1e6, false, "us"},   {9.9999e-8, 1e-9, true, "ns"},
        {9.9999e-9, 1e-9, true, "ns"},   {9.9999e-10, 1e-9, true, "ns"},
        {9.9999e-11, 1e-12, true, "ps"}, {9.9999e-12, 1e-12, true, "ps"},
        {9.9999e-13, 1e-12, true, "ps"},
    };
    const float x = ValSingle(text);
    for (int i = 0; i < 15; ++i) {
        const Decade& dec = decades[i];
        if (x >= dec.bound || x <= -dec.bound)
            return formatRung(x, {dec.bound, dec.scale, dec.divide, pictures[d][i % 3], dec.unit},
                              false);
    }
    return smaller[d];
}
} // namespace

QString NormVolt(const QString& text) {
    const float x = ValSingle(text);
    if (x >= 9.9999e6 || x <= -999990.0) return "??.?V";
    if (x >= 999990.0) return formatRung(x, {999990, 1e6, true, "#.00", "MV"}, false);
    static const Rung kilo[] = {{99999, 1000, true, "###", "kV"},
                                {9999.9, 1000, true, "##.0", "kV"},
                                {999.99, 1000, true, "#.00", "kV"}};
    static const Rung volt[] = {{99.999, 0, false, "###", "V"},
                                {9.9999, 0, false, "##.0", "V"},
                                {0.99999, 0, false, "#.00", "V"}};
    static const Rung small[] = {
        {0.099999, 1000, false, "###", "mV"},    {0.0099999, 1000, false, "##.0", "mV"},
        {0.00099999, 1000, false, "#.00", "mV"}, {9.9999e-5, 1e6, false, "###", "uV"},
        {9.9999e-6, 1e6, false, "##.0", "uV"},   {9.9999e-7, 1e6, false, "#.00", "uV"}};
    // The kV, mV and uV ranges are scaled and formatted as 32-bit floats.
    if (const Rung* r = symmetricRung(x, kilo, 3)) return formatRung(x, *r, true);
    if (const Rung* r = symmetricRung(x, volt, 3)) return formatRung(x, *r, false);
    if (const Rung* r = symmetricRung(x, small, 6)) return formatRung(x, *r, true);
    return "0.00uV";
}

QString NormTime3(const QString& text) {
    return normTime(text, 3);
}
QString NormTime4(const QString& text) {
    return normTime(text, 4);
}
QString NormTime5(const QString& text) {
    return normTime(text, 5);
}

QString NormFreq(const QString& text) {
    const float x = ValSingle(text);
    if (x >= 9.9999999e11) return "??.???";
    static const Rung rungs[] = {
        {9.9999999e10, 1e9, true, "#000.0", "GHz"},    {9.9999999e9, 1e9, true, "#00.00", "GHz"},
        {999999990, 1e9, true, "#0.000", "GHz"},       {99999999, 1e6, true, "#000.0", "MHz"},
        {9999999.9, 1e6, true, "#00.00", "MHz"},       {999999.99, 1e6, true, "#0.000", "MHz"},
        {99999.999, 1000, true, "#000.0", "kHz"},      {9999.9999, 1000, true, "#00.00", "kHz"},
        {999.99999, 1000, true, "#0.000", "kHz"},      {99.999999, 0, false, "#000.0", "Hz"},
        {9.9999999, 0, false, "#00.00", "Hz"},         {0.99999999, 0, false, "#0.000", "Hz"},
        {0.099999999, 1000, false, "#000.0", "mHz"},   {0.0099999999, 1000, false, "#00.00", "mHz"},
        {0.00099999999, 1000, false, "#0.000", "mHz"},
    };
    for (const Rung& r : rungs)
        if (x >= r.bound) return formatRung(x, r, false);
    return "??.???";
}

QString NormDB(const QString& text) {
    const float x = ValSingle(text);
    const QChar sign = MachineDecimalSign();
    auto show = [x, sign](const char* picture) {
        return FormatPicture(x, picture, Precision::Single, sign);
    };
    if (x >= 9999.9) return "****dB";
    if (x >= 99.999) return show("#000.0dB");
    if (x >= 9.9999) return show("#00.0dB");
    if (x > -9.9999) return show("#0.00dB");
    if (x > -99.999) return show("#00.0dB");
    if (x > -9999.9) return show("#000.0dB");
    return "-****dB";
}

QString NormPercent(const QString& text) {
    const float x = ValSingle(text);
    return FormatPicture(x, x >= 0.1 ? "00.0%" : "0.00%", Precision::Single, MachineDecimalSign());
}

QString NormDiv(const QString& value, QString& scale) {
    const double v = Val(value);
    const double s = Val(scale);
    scale = CStrNumber(s, MachineDecimalSign());
    if (s == 0) throw platform::ArithmeticFault("division by zero");
    return FormatPicture(v / s, "#0.00", Precision::Double, MachineDecimalSign()) + "div";
}

// ---- dialog fields -----------------------------------------------------------------

namespace {
// One decade row of a split ladder: values at or above the bound show
// divided by `divisor` (or multiplied by `multiplier`) in unit row `row`.
struct SplitRow {
    double bound;
    double divisor;
    double multiplier;
    int row;
};

SplitResult split(double value, bool outOfRange, int outRow, const QStringList& units,
                  std::initializer_list<SplitRow> rows, bool symmetric) {
    SplitResult r;
    if (outOfRange) {
        r.number = "???.?";
        r.unitRow = outRow;
    } else {
        const double magnitude = symmetric ? std::fabs(value) : value;
        const SplitRow* chosen = rows.end() - 1; // the last row takes everything smaller
        for (const SplitRow& row : rows)
            if (magnitude >= row.bound) {
                chosen = &row;
                break;
            }
        r.number =
            FormatPicture(value / chosen->divisor * chosen->multiplier, "0.000", Precision::Double);
        r.unitRow = chosen->row;
    }
    r.joined = r.number + units.value(r.unitRow);
    return r;
}
} // namespace

SplitResult SplitVoltToUnit(double value, int) {
    return split(
        value, std::fabs(value) >= 1e9, 2, kVoltUnits,
        {{1e6, 1e6, 1, 0}, {1000, 1000, 1, 1}, {1, 1, 1, 2}, {0.001, 1, 1000, 3}, {0, 1, 1e6, 4}},
        true);
}

SplitResult SplitFreqToUnit(double value, int currentRow) {
    return split(
        value, value >= 1e12 || value < 0, currentRow, kFreqUnits,
        {{1e9, 1e9, 1, 0}, {1e6, 1e6, 1, 1}, {1000, 1000, 1, 2}, {1, 1, 1, 3}, {0, 1, 1000, 4}},
        false);
}

SplitResult SplitTimeToUnit(double value, int currentRow) {
    return split(
        value, std::fabs(value) >= 1000, currentRow, kTimeUnits,
        {{1, 1, 1, 4}, {0.001, 1, 1000, 3}, {1e-6, 1, 1e6, 2}, {1e-9, 1, 1e9, 1}, {0, 1, 1e12, 0}},
        true);
}

SplitResult SplitPercentToText(double value) {
    SplitResult r;
    r.number = FormatPicture(value, "0.00", Precision::Double);
    r.unitRow = 0;
    r.joined = r.number + "%";
    return r;
}

// ---- command numbers -------------------------------------------------------------------

namespace {
QString toCmdText(double x, const char* const units[4]) {
    static const QString picture = "0.0########################";
    double scaled = x;
    const char* unit = units[3];
    if (x <= 1e-9) {
        scaled = x * 1e9;
        unit = units[0];
    } else if (x <= 1e-6) {
        scaled = x * 1e6;
        unit = units[1];
    } else if (x <= 0.001) {
        scaled = x * 1000;
        unit = units[2];
    }
    QString text = FormatPicture(scaled, picture, Precision::Double, MachineDecimalSign()) + unit;
    return text.replace(',', '.');
}
} // namespace

QString TimeToCmdText(double seconds) {
    static const char* const units[4] = {"ns", "us", "ms", "s"};
    return toCmdText(seconds, units);
}

QString VoltToCmdText(double volts) {
    static const char* const units[4] = {"nv", "uv", "mv", "v"};
    return toCmdText(volts, units);
}

QString TimeToCmdTextDot(double seconds) {
    QString text = TimeToCmdText(seconds);
    return text.replace(',', '.');
}

// ---- word mappings ------------------------------------------------------------------

namespace {
using Row = std::pair<const QString*, const char*>; // display word, instrument word

QString toCmd(const QString& word, std::initializer_list<Row> rows) {
    for (const Row& r : rows)
        if (*r.first == word) return r.second;
    return (rows.end() - 1)->second;
}

// Replies matched in order; nothing matched gives the fallback word.
QString fromReply(const QString& reply, std::initializer_list<Row> rows, const QString& fallback) {
    for (const Row& r : rows)
        if (reply == QLatin1String(r.second)) return *r.first;
    return fallback;
}
} // namespace

QString RunStateToCmd(const QString& w) {
    return toCmd(w, {{&WordRun, ":RUN"}, {&WordStop, ":STOP"}});
}
QString RunStateFromReply(const QString& r) {
    return fromReply(r, {{&WordRun, "RUN"}}, WordStop);
}

QString SwitchToCmd(const QString& w) {
    return toCmd(w, {{&WordOn, "ON"}, {&WordOff, "OFF"}});
}
QString SwitchFromReply(const QString& r) {
    return fromReply(r, {{&WordOn, "ON"}, {&WordOn, "1"}}, WordOff);
}

QString SizeToCmd(const QString& w) {
    return toCmd(w, {{&WordBig, "BIG"}, {&WordSmall, "SMALL"}});
}
QString SizeFromReply(const QString& r) {
    return fromReply(r, {{&WordBig, "BIG"}}, WordSmall);
}

QString SamplingToCmd(const QString& w) {
    return toCmd(w, {{&WordRealTime, "RTIME"}, {&WordEqualTime, "ETIME"}});
}
QString SamplingFromReply(const QString& r) {
    return fromReply(r, {{&WordRealTime, "REAL_TIME"}}, WordEqualTime);
}

QString AcquisitionToCmd(const QString& w) {
    return toCmd(
        w,
        {{&WordAcqNormal, "NORMAL"}, {&WordAcqPeak, "PEAKDETECT"}, {&WordAcqAverage, "AVERAGE"}});
}
QString AcquisitionFromReply(const QString& r) {
    return fromReply(r, {{&WordAcqNormal, "NORMAL"}, {&WordAcqPeak, "PEAKDETECT"}}, WordAcqAverage);
}

QString DisplayTypeToCmd(const QString& w) {
    return toCmd(w, {{&WordVectors, "VECTORS"}, {&WordDots, "DOTS"}});
}
QString DisplayTypeFromReply(const QString& r) {
    return fromReply(r, {{&WordVectors, "VECTORS"}}, WordDots);
}

QString GridToCmd(const QString& w) {
    return toCmd(w, {{&WordGridFull, "FULL"}, {&WordGridHalf, "HALF"}, {&WordGridNone, "NONE"}});
}
QString GridFromReply(const QString& r) {
    return fromReply(r, {{&WordGridFull, "FULL"}, {&WordGridHalf, "HALF"}}, WordGridNone);
}

QString TriggerMethodToCmd(const QString& w) {
    return toCmd(w, {{&WordEdge, "EDGE"},
                     {&WordPulse, "PULSE"},
                     {&WordVideo, "VIDEO"},
                     {&WordSlope, "SLOPE"},
                     {&WordAlternation, "ALTERNATION"},
                     {&WordPattern, "PATTERN"},
                     {&WordDuration, "DURATION"}});
}
QString TriggerMethodFromReply(const QString& r) {
    return fromReply(r,
                     {{&WordEdge, "EDGE"},
                      {&WordPulse, "PULSE"},
                      {&WordVideo, "VIDEO"},
                      {&WordSlope, "SLOPE"},
                      {&WordAlternation, "ALTERNATION"},
                      {&WordPattern, "PATTERN"}},
                     WordDuration);
}

QString SweepToCmd(const QString& w) {
    return toCmd(
        w, {{&WordSweepAuto, "AUTO"}, {&WordSweepNormal, "NORMAL"}, {&WordSweepSingle, "SINGLE"}});
}
QString SweepFromReply(const QString& r) {
    return fromReply(
        r, {{&WordSweepAuto, "AUTO"}, {&WordSweepNormal, "NORMAL"}, {&WordSweepSingle, "SINGLE"}},
        QString());
}

QString CouplingToCmd(const QString& w) {
    return toCmd(w, {{&WordCouplingAc, "AC"},
                     {&WordCouplingDc, "DC"},
                     {&WordCouplingLf, "LF"},
                     {&WordCouplingHf, "HF"},
                     {&WordCouplingGnd, "GND"}});
}
QString CouplingFromReply(const QString& r) {
    return fromReply(r,
                     {{&WordCouplingAc, "AC"},
                      {&WordCouplingDc, "DC"},
                      {&WordCouplingLf, "LF"},
                      {&WordCouplingHf, "HF"}},
                     WordCouplingGnd);
}

QString EdgeSlopeToCmd(const QString& w) {
    return toCmd(
        w,
        {{&WordRising, "POSITIVE"}, {&WordFalling, "NEGATIVE"}, {&WordBothEdges, "ALTERNATION"}});
}
QString EdgeSlopeFromReply(const QString& r) {
    return fromReply(r, {{&WordRising, "POSITIVE"}, {&WordFalling, "NEGATIVE"}}, WordBothEdges);
}

QString PulseModeToCmd(const QString& w) {
    return toCmd(w, {{&WordPlusLess, "+LESSTHAN"},
                     {&WordMinusLess, "-LESSTHAN"},
                     {&WordPlusGreater, "+GREATERTHAN"},
                     {&WordMinusGreater, "-GREATERTHAN"},
                     {&WordPlusEqual, "+EQUAL"},
                     {&WordMinusEqual, "-EQUAL"}});
}
QString PulseModeFromReply(const QString& r) {
    return fromReply(r,
                     {{&WordPlusLess, "+LESS THAN"},
                      {&WordMinusLess, "-LESS THAN"},
                      {&WordPlusGreater, "+GREATER THAN"},
                      {&WordMinusGreater, "-GREATER THAN"},
                      {&WordPlusEqual, "+EQUAL"}},
                     WordMinusEqual);
}

QString SlopeModeToCmd(const QString& w) {
    return toCmd(w, {{&WordSlopePlusLess, "+LESSTHAN"},
                     {&WordSlopeMinusLess, "-LESSTHAN"},
                     {&WordSlopePlusGreater, "+GREATERTHAN"},
                     {&WordSlopeMinusGreater, "-GREATERTHAN"},
                     {&WordSlopePlusEqual, "+EQUAL"},
                     {&WordSlopeMinusEqual, "-EQUAL"}});
}
QString SlopeModeFromReply(const QString& r) {
    return fromReply(r,
                     {{&WordSlopePlusLess, "+LESS THAN"},
                      {&WordSlopeMinusLess, "-LESS THAN"},
                      {&WordSlopePlusGreater, "+GREATER THAN"},
                      {&WordSlopeMinusGreater, "-GREATER THAN"},
                      {&WordSlopePlusEqual, "+EQUAL"}},
                     WordSlopeMinusEqual);
}

QString VideoPolarityToCmd(const QString& w) {
    return toCmd(w, {{&WordPositive, "POSITIVE"}, {&WordNegative, "NEGATIVE"}});
}
QString VideoPolarityFromReply(const QString& r) {
    return fromReply(r, {{&WordPositive, "POSITIVE"}}, WordNegative);
}

QString VideoSyncToCmd(const QString& w) {
    return toCmd(w, {{&WordAllLines, "ALLlines"},
                     {&WordLine, "LINE"},
                     {&WordOddField, "ODDfield"},
                     {&WordEvenField, "EVENfield"}});
}
QString VideoSyncFromReply(const QString& r) {
    return fromReply(
        r, {{&WordAllLines, "ALL LINES"}, {&WordLine, "LINE"}, {&WordOddField, "ODD FIELD"}},
        WordEvenField);
}

QString QualifierToCmd(const QString& w) {
    return toCmd(w,
                 {{&WordLess, "LESSTHAN"}, {&WordGreater, "GREATERTHAN"}, {&WordEqual, "EQUAL"}});
}
QString QualifierFromReply(const QString& r) {
    return fromReply(r, {{&WordLess, "LESS THAN"}, {&WordGreater, "GREATER THAN"}}, WordEqual);
}

QString TimeFormatToCmd(const QString& text) {
    if (text == QLatin1String("Y-T")) return "YT";
    if (text == QLatin1String("X-Y")) return "XY";
    return "SCANNING";
}
QString TimeFormatFromReply(const QString& reply) {
    return reply == QLatin1String("SCANNING") ? QStringLiteral("Roll") : reply;
}

QString VideoStandardToCmd(const QString& text) {
    return text == QLatin1String("PAL/SECAM") ? QStringLiteral("PALSECAM") : text;
}

QString TriggerSourceToCmd(const QString& source) {
    if (source == QLatin1String("CH1")) return "CHANNEL1";
    if (source == QLatin1String("CH2")) return "CHANNEL2";
    if (source == WordAcLine) return "ACLINE";
    if (source == QLatin1String("EXT") || source == QLatin1String("EXT5")) return source;
    if (source.startsWith('D')) return "DIGITAL" + source.mid(1);
    return source;
}
QString TriggerSourceFromReply(const QString& reply) {
    return reply == QLatin1String("ACLINE") ? WordAcLine : reply;
}

QString ProbeToCmd(const QString& probe) {
    return CStrNumber(Val(probe));
}

QString ThresholdFromReply(const QString& reply) {
    if (reply.left(4) == QLatin1String("User")) return NormVolt(reply.mid(5));
    return reply;
}

QString ThresholdToDisplay(const QString& text) {
    if (text == QLatin1String("TTL") || text == QLatin1String("ECL") ||
        text == QLatin1String("CMOS"))
        return text;
    return NormVolt(text.mid(5));
}

QString ProbeFromReply(const QString& reply) {
    const double v = Val(reply);
    static const std::pair<double, const char*> probes[] = {
        {1, "1X"}, {2, "2X"}, {5, "5X"}, {10, "10X"}, {50, "50X"}, {100, "100X"}, {500, "500X"}};
    for (const auto& [ratio, word] : probes)
        if (v == ratio) return word;
    return "1000X";
}

void PatternReplyToLevels(const QString& reply, PatternLevels& levels) {
    // At most five fields: the fifth keeps any further commas.
    QStringList parts = reply.split(',');
    while (parts.size() > 5)
        parts[4] += "," + parts.takeAt(5);
    platform::FixedArray<QString, 0, 4> fields;
    const int count = static_cast<int>(parts.size());
    for (int i = 0; i < count; ++i)
        fields[i] = parts[i];
    auto field = [&](int i) -> const QString& {
        if (i >= count) platform::ThrowBounds("pattern field", i, 0, count - 1);
        return fields[i];
    };
    // A number the instrument should never send is the handler's overflow,
    // not a conversion whose result the language leaves undefined.
    auto whole = [](double v) -> qint64 {
        if (!(v > -2147483649.0 && v < 4294967296.0)) throw platform::ArithmeticFault("overflow");
        return static_cast<qint64>(v);
    };
    const auto value = static_cast<quint32>(whole(Val(field(1))));
    for (int i = 1; i <= 16; ++i)
        levels[i] = (value >> (16 - i)) & 1 ? "H" : "L";
    const auto mask = static_cast<quint32>(whole(Val(field(2))));
    for (int i = 1; i <= 16; ++i)
        if (!((mask >> (16 - i)) & 1)) levels[i] = "X";
    if (count < 4) return;
    if (field(3) == QLatin1String("None")) return;
    const int channel = static_cast<int>(whole(Val(field(3).mid(1))));
    const QString polarity = count > 4 ? field(4).trimmed() : QString();
    if (polarity == QLatin1String("Positive"))
        levels[16 - channel] = WordRising;
    else if (polarity == QLatin1String("Negative"))
        levels[16 - channel] = WordFalling;
}

// ---- raw numbers ------------------------------------------------------------------------

double HexTextToNumber(const QString& text) {
    double result = 0;
    double weight = 1;
    for (qsizetype i = text.size() - 1; i >= 0; --i, weight *= 16) {
        const QChar c = text[i];
        double digit;
        if (c >= 'A' && c <= 'F')
            digit = c.unicode() - 'A' + 10;
        else if (c >= 'a' && c <= 'f')
            digit = c.unicode() - 'a' + 10;
        else
            digit = Val(QString(c));
        result += digit * weight;
    }
    return result;
}

double PicosecondsToSeconds(qint32 lowWord, qint32 highWord) {
    const double low =
        lowWord >= 0
            ? lowWord
            : HexTextToNumber(QString::number(static_cast<quint32>(lowWord), 16).toUpper());
    return low / 1e12 + highWord * 0.004294967296;
}

double PointsToValue(double points, double scale) {
    return points / 25 * scale;
}

short ValueToPoints(double value, double scale) {
    if (scale == 0) throw platform::ArithmeticFault("division by zero");
    return CIntHalfEven(value / scale * 25);
}

double NextTimeScale(double seconds, double direction) {
    // The ladder in picoseconds: 1, 2, 5, 10, ... 5e15 (5000 s).
    static const QList<double> rungs = [] {
        QList<double> r;
        for (double decade = 1; decade <= 1e15; decade *= 10)
            r << decade << 2 * decade << 5 * decade;
        return r;
    }();
    const double ps = seconds * 1e12;
    const double tolerance = 1e-9;
    if (direction < 1) {
        // At or below a rung gives the rung before it; the two rungs below
        // 10 000 ps are both 5 000 ps, so stepping down from 5 ns holds there.
        for (qsizetype i = 1; i < rungs.size(); ++i) {
            if (ps <= rungs[i] * (1 + tolerance)) {
                const double below = rungs[i] == 5000 ? 5000 : rungs[i - 1];
                return below / 1e12;
            }
        }
        return rungs.last() / 1e12;
    }
    for (double r : rungs)
        if (r > ps * (1 + tolerance)) return r / 1e12;
    return rungs.last() / 1e12;
}

QString ProbeScaledToBase(const QString& scaleText, const QString& probeText) {
    static const QStringList base = {"1.00mV", "2.00mV", "5.00mV", "10.0mV", "20.0mV", "50.0mV",
                                     "100mV",  "200mV",  "500mV",  "1.00V",  "2.00V",  "5.00V"};
    static const QHash<QString, QStringList> scaled = {
        {"2X",
         {"2.00mV", "4.00mV", "10.0mV", "20.0mV", "40.0mV", "100mV", "200mV", "400mV", "1.00V",
          "2.00V", "4.00V", "10.0V"}},
        {"5X",
         {"5.00mV", "10.0mV", "25.0mV", "50.0mV", "100mV", "250mV", "500mV", "1.00V", "2.50V",
          "5.00V", "10.0V", "25.0V"}},
        {"10X",
         {"10.0mV", "20.0mV", "50.0mV", "100mV", "200mV", "500mV", "1.00V", "2.00V", "5.00V",
          "10.0V", "20.0V", "50.0V"}},
        {"50X",
         {"50.0mV", "100mV", "250mV", "500mV", "1.00V", "2.50V", "5.00V", "10.0V", "25.0V", "50.0V",
          "100V", "250V"}},
        {"100X",
         {"100mV", "200mV", "500mV", "1.00V", "2.00V", "5.00V", "10.0V", "20.0V", "50.0V", "100V",
          "200V", "500V"}},
        {"500X",
         {"500mV", "1.00V", "2.50V", "5.00V", "10.0V", "25.0V", "50.0V", "100V", "250V", "500V",
          "1000V", "2500V"}},
        {"1000X",
         {"1.00V", "2.00V", "5.00V", "10.0V", "20.0V", "50.0V", "100V", "200V", "500V", "1.00kV",
          "2.00kV", "5.00kV"}},
    };
    if (probeText == QLatin1String("1X")) return scaleText;
    const auto row = scaled.constFind(probeText);
    if (row == scaled.cend()) return QString();
    const qsizetype at = row->indexOf(scaleText);
    return at < 0 ? QStringLiteral("10.0V") : base[at];
}

// ---- values that need the instrument ---------------------------------------------------

namespace {
bool isAcLine(const QString& source) {
    return source == QLatin1String("AC") || source == QLatin1String("ACLINE") ||
           source == WordAcLine;
}
QString channelQuery(const QString& source, const char* leaf) {
    return QString(":CHANNEL%1:%2?").arg(source == QLatin1String("CH1") ? 1 : 2).arg(leaf);
}
} // namespace

QString TriggerScaleForSource(const QString& source, const InstrumentQuery& query) {
    if (source == QLatin1String("CH1") || source == QLatin1String("CH2"))
        return CutAtLineFeed(query(channelQuery(source, "SCALE")));
    if (source == QLatin1String("EXT")) return "0.2";
    if (source == QLatin1String("EXT5")) return "1";
    if (isAcLine(source)) return "0";
    return QString();
}

QString LevelFromDiv(const QString& divText, const QString& source, const InstrumentQuery& query) {
    QString scale, offset;
    if (source == QLatin1String("CH1") || source == QLatin1String("CH2")) {
        scale = CutAtLineFeed(query(channelQuery(source, "SCALE")));
        offset = CutAtLineFeed(query(channelQuery(source, "OFFSET")));
    } else if (source == QLatin1String("EXT")) {
        scale = "0.2";
        offset = "0";
    } else if (source == QLatin1String("EXT5")) {
        scale = "1";
        offset = "0";
    } else if (isAcLine(source)) {
        scale = offset = "0";
    }
    return StrNumber(Val(PointForm(divText)) * Val(scale) - Val(offset)).trimmed();
}
