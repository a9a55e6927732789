// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Number text as the program produces and reads it: picture
// formatting ("#.00", "###", "#0.00dB", "00.0%", "0.00E+00"...) and the Val
// reading rule. Exact to the digit, because every value the program shows,
// stores, sends or exports passes through here.
#include <QChar>
#include <QString>

// How many significant digits the value's decimal form has before the
// picture rounds it: a 32-bit value has 7, a 64-bit value 15. The same
// number can format differently on the two paths at a rounding boundary.
enum class Precision { Single = 7, Double = 15 };

// Formats value by picture. Placeholders: "0" a digit always shown, "#" a
// digit shown only if significant, "." the decimal sign, "%" multiplies by
// 100 and shows a percent sign, "E+00" / "E-00" an exponent (with "E+" the
// sign always, with "E-" only when negative). Any other character is literal
// text. The last digit is rounded half away from zero from the decimal form;
// a negative value keeps its "-" even when its digits round to zero.
QString FormatPicture(double value, const QString& picture, Precision precision,
                      QChar decimalSign = QLatin1Char('.'));

// The decimal sign of the machine's locale (a comma under a comma locale),
// unless the program set its own (the command line prints the point).
QChar MachineDecimalSign();
void SetDisplayDecimalSign(QChar sign); // QChar() for the locale's again
// A display text and the same text with the point: the display shows numbers
// with the machine's sign, the instrument and the files take the point.
// Only a sign next to a digit is a decimal sign; words are left alone.
QString PointForm(const QString& shown);
QString ShownForm(const QString& withPoint);
// A settings line for a file ("CH1 2,00V  500us 666,7kSa [Date:...]"): its
// numbers with the point, the date after "[Date:" as the locale writes it.
QString SettingLineForFile(const QString& shown);
// A number box's text: "1e3", "-2.5", " 7 ", "1,5" under a comma locale are
// numbers; an empty text or a lone "-" is not.
bool IsNumeric(const QString& text);

// Val: leading blanks skipped, then a sign, digits, one point and an exponent
// as far as they form a number; reading stops at the first other character.
// Never an error: text without a leading number reads 0. Always a point.
double Val(const QString& text);
// Val read into a 32-bit float, as the display formatters read their text.
float ValSingle(const QString& text);

// A number as a string: Str puts a blank before a
// non-negative number and drops the zero before the point (" .5", "-.25",
// " 1E-05"); CStr has neither quirk ("0.5"). Both show up to 15 significant
// digits and use the exponent form below 1e-4 and from 1e15 on.
QString StrNumber(double value);
QString CStrNumber(double value, QChar decimalSign = QLatin1Char('.'));

// Rounds to a 16-bit integer, half to even; outside -32768..32767 is an
// arithmetic fault (overflow).
short CIntHalfEven(double value);
