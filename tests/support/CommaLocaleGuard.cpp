// SPDX-License-Identifier: GPL-3.0-or-later
// Linked into every test program. A run that asks for a comma locale
// (KORVANE_EXPECT_COMMA_LOCALE=1) fails at once unless the C library and Qt
// really use a comma once the application has set the locale: a run on a
// machine without the locale must not pass by testing the point twice.
#include <QCoreApplication>
#include <QLocale>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
void assertCommaLocale() {
    if (qEnvironmentVariableIntValue("KORVANE_EXPECT_COMMA_LOCALE") != 1) return;
    const char* cSign = std::localeconv()->decimal_point;
    const QString qtSign = QLocale().decimalPoint();
    if (std::strcmp(cSign, ",") != 0 || qtSign != QLatin1String(",")) {
        std::fprintf(stderr,
                     "comma locale not active: the C library's decimal sign is '%s', Qt's '%s' "
                     "(LC_ALL=%s, LOCPATH=%s)\n",
                     cSign, qPrintable(qtSign), qgetenv("LC_ALL").constData(),
                     qgetenv("LOCPATH").constData());
        std::exit(3);
    }
}
} // namespace

Q_COREAPP_STARTUP_FUNCTION(assertCommaLocale)
