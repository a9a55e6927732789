// SPDX-License-Identifier: GPL-3.0-or-later
#include "logger/LogPlan.h"

#include "measure/MeasureTable.h"

#include <QSet>
#include <QTimeZone>
#include <QUrl>

QString LoggedMeasure::channelName() const {
    return QStringLiteral("CH%1").arg(channel);
}

QString LoggedMeasure::name() const {
    return row ? QString::fromLatin1(row->english) : QString();
}

QList<LoggedMeasure> ParseLogMeasures(const QString& text, QString* error) {
    QList<LoggedMeasure> out;
    QSet<QString> seen;
    auto refuse = [&](const QString& why) {
        if (error) *error = why;
        return QList<LoggedMeasure>();
    };
    for (const QString& raw : text.split(',')) {
        const QString item = raw.trimmed();
        const qsizetype colon = item.indexOf(':');
        const QString channel = item.left(colon).trimmed().toUpper();
        LoggedMeasure m;
        m.channel = channel == QLatin1String("CH2") ? 2 : 1;
        m.row = MeasureRowNamed(item.mid(colon + 1).trimmed());
        if (colon <= 0 || (channel != QLatin1String("CH1") && channel != QLatin1String("CH2")))
            return refuse(item + ": a measure is CH1:NAME or CH2:NAME (e.g. CH1:Vpp)");
        if (!m.row) {
            QStringList names;
            for (const MeasureRow& row : MeasureRows())
                names << QString::fromLatin1(row.english);
            return refuse(item + ": no such measure (" + names.join(", ") + ")");
        }
        const QString key = m.channelName() + ":" + m.name();
        if (seen.contains(key)) return refuse(key + " is given twice");
        seen.insert(key);
        out << m;
    }
    if (out.isEmpty()) return refuse("no measure given (e.g. CH1:Vpp,CH1:Frequency)");
    return out;
}

QString LogTarget::shown() const {
    if (kind == Kind::SQLite) return path;
    return QStringLiteral("postgresql://%1@%2:%3/%4").arg(user, host).arg(port).arg(database);
}

std::optional<LogTarget> ParseLogTarget(const QString& text, QString* error) {
    LogTarget t;
    auto refuse = [&](const QString& why) -> std::optional<LogTarget> {
        if (error) *error = why;
        return std::nullopt;
    };
    if (!text.contains(QLatin1String("://"))) {
        if (text.trimmed().isEmpty()) return refuse("--db names no database");
        t.path = text;
        return t;
    }
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme();
    if (!url.isValid() ||
        (scheme != QLatin1String("postgresql") && scheme != QLatin1String("postgres")))
        return refuse(text + ": not a database (a file path, or postgresql://USER@HOST:PORT/DB)");
    if (!url.password().isEmpty())
        return refuse(text + ": a password does not go on the command line; use PGPASSWORD or "
                             "~/.pgpass");
    t.kind = LogTarget::Kind::PostgreSQL;
    t.user = url.userName();
    t.host = url.host();
    t.port = url.port(5432);
    t.database = url.path().mid(1);
    if (t.user.isEmpty() || t.host.isEmpty() || t.database.isEmpty() || t.database.contains('/') ||
        !url.query().isEmpty() || !url.fragment().isEmpty())
        return refuse(text + ": does not read as postgresql://USER@HOST:PORT/DB");
    return t;
}

QList<LogRow> SampleRows(const QList<LoggedMeasure>& measures, const MeasureRecord* byChannel[3],
                         const MeasureRecord& limits, const QDateTime& time) {
    QList<LogRow> rows;
    for (const LoggedMeasure& m : measures) {
        const MeasureRecord* rec = byChannel[m.channel];
        if (!rec) continue;
        MeasureItem item = rec->Items[static_cast<std::size_t>(m.row->slot)];
        const MeasureItem& limit = limits.Items[static_cast<std::size_t>(m.row->slot)];
        item.LimitEnabled = limit.LimitEnabled;
        item.UnderLimit = limit.UnderLimit;
        item.OverLimit = limit.OverLimit;
        LogRow r;
        r.time = time;
        r.channel = m.channelName();
        r.measure = m.name();
        r.value = MeasureBaseValue(*m.row, item.Text);
        r.unit = MeasureUnit(*m.row);
        const QString verdict = Verdict(item, m.row->family);
        if (!verdict.isEmpty()) r.verdict = VerdictPasses(verdict) ? "pass" : "fail";
        if (limit.LimitEnabled) r.under = limit.UnderLimit, r.over = limit.OverLimit;
        rows << r;
    }
    return rows;
}

QString LogTimeText(const QDateTime& time) {
    return time.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"));
}

std::optional<double> LogTimeSeconds(const char* t, int length) {
    if (length != 24 || t[4] != '-' || t[7] != '-' || t[10] != 'T' || t[13] != ':' ||
        t[16] != ':' || t[19] != '.' || t[23] != 'Z')
        return std::nullopt;
    auto number = [t](int at, int digits, int* out) {
        int n = 0;
        for (int i = at; i < at + digits; ++i) {
            if (t[i] < '0' || t[i] > '9') return false;
            n = n * 10 + (t[i] - '0');
        }
        *out = n;
        return true;
    };
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, milli = 0;
    if (!number(0, 4, &year) || !number(5, 2, &month) || !number(8, 2, &day) ||
        !number(11, 2, &hour) || !number(14, 2, &minute) || !number(17, 2, &second) ||
        !number(20, 3, &milli) || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 ||
        minute > 59 || second > 60)
        return std::nullopt;
    // Days from 1970-01-01 of a proleptic Gregorian date (years from March).
    const int y = year - (month <= 2);
    const int era = y / 400;
    const int yearOfEra = y - era * 400;
    const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    const long long days = era * 146097LL + dayOfEra - 719468;
    return static_cast<double>(days * 86400 + hour * 3600 + minute * 60 + second) + milli / 1000.0;
}

std::optional<QDateTime> ParseLogTime(const QString& text) {
    QDateTime t = QDateTime::fromString(text.trimmed(), Qt::ISODateWithMs);
    if (!t.isValid()) {
        const QDate day = QDate::fromString(text.trimmed(), Qt::ISODate);
        if (!day.isValid()) return std::nullopt;
        t = day.startOfDay(QTimeZone::utc());
    }
    if (t.timeSpec() == Qt::LocalTime) t.setTimeZone(QTimeZone::utc()); // no zone: UTC
    return t.toUTC();
}
