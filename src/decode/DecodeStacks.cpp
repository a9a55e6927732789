// SPDX-License-Identifier: GPL-3.0-or-later
#include "decode/DecodeStacks.h"

#include "decode/Decoders.h"

namespace decode {

int SourceIndex(const QString& name) {
    const QString n = name.trimmed().toUpper();
    if (n == "CH1") return kLogicLanes;
    if (n == "CH2") return kLogicLanes + 1;
    if (n.size() < 2 || n[0] != 'D') return -1;
    bool ok = false;
    const int lane = n.mid(1).toInt(&ok);
    return ok && lane >= 0 && lane < kLogicLanes && n.mid(1) == QString::number(lane) ? lane : -1;
}

QString SourceName(int index) {
    if (index == kLogicLanes) return QStringLiteral("CH1");
    if (index == kLogicLanes + 1) return QStringLiteral("CH2");
    return QStringLiteral("D%1").arg(index);
}

QString DecoderSetup::channelSource(const QString& channelId) const {
    for (const auto& c : channels)
        if (c.first == channelId) return c.second;
    return {};
}

QString DecoderSetup::optionValue(const QString& optionId) const {
    for (const auto& o : options)
        if (o.first == optionId) return o.second;
    return {};
}

bool DecodeStack::usesAnalog() const {
    for (const DecoderSetup& d : decoders)
        for (const auto& c : d.channels)
            if (SourceIndex(c.second) >= kLogicLanes) return true;
    return false;
}

namespace {

bool fail(QString* error, const QString& text) {
    if (error) *error = text;
    return false;
}

bool parseDecoder(const QString& text, DecoderSetup* out, QString* error) {
    const QStringList parts = text.split(':');
    const QString id = parts.first().trimmed();
    const DecoderInfo* info = FindDecoder(id);
    if (!info) return fail(error, QStringLiteral("Unknown protocol decoder '%1'.").arg(id));
    out->id = id;
    for (int k = 1; k < parts.size(); ++k) {
        const int eq = parts[k].indexOf('=');
        if (eq <= 0)
            return fail(error,
                        QStringLiteral("'%1' is not KEY=VALUE in '%2'.").arg(parts[k], text));
        const QString key = parts[k].left(eq).trimmed(), value = parts[k].mid(eq + 1).trimmed();
        if (info->channel(key)) {
            if (SourceIndex(value) < 0)
                return fail(error, QStringLiteral("%1: channel %2 cannot read '%3'; use D0..D15, "
                                                  "CH1 or CH2.")
                                       .arg(id, key, value));
            out->channels.push_back({key, SourceName(SourceIndex(value))});
        } else if (const DecoderOption* o = info->option(key)) {
            if (!o->values.isEmpty() && !o->values.contains(value))
                return fail(error, QStringLiteral("%1: option %2 takes %3, not '%4'.")
                                       .arg(id, key, o->values.join(", "), value));
            bool number = true;
            if (o->numeric) value.toDouble(&number);
            if (!number)
                return fail(
                    error,
                    QStringLiteral("%1: option %2 takes a number, not '%3'.").arg(id, key, value));
            out->options.push_back({key, value});
        } else {
            return fail(error, QStringLiteral("%1 has no channel or option '%2'.").arg(id, key));
        }
    }
    return true;
}

} // namespace

bool ParseStack(const QString& text, DecodeStack* stack, QString* error) {
    QString reason;
    if (!DecodersReady(&reason)) return fail(error, reason);
    DecodeStack parsed;
    for (const QString& part : text.split(',')) {
        DecoderSetup setup;
        if (!parseDecoder(part, &setup, error)) return false;
        if (!parsed.decoders.isEmpty()) {
            const DecoderInfo* below = FindDecoder(parsed.decoders.last().id);
            if (!CanStack(*below, *FindDecoder(setup.id)))
                return fail(error, QStringLiteral("%1 cannot stack on %2.")
                                       .arg(setup.id, parsed.decoders.last().id));
        }
        parsed.decoders.push_back(setup);
    }
    *stack = parsed;
    return true;
}

QString StackText(const DecodeStack& stack) {
    QStringList decoders;
    for (const DecoderSetup& d : stack.decoders) {
        QString text = d.id;
        for (const auto& c : d.channels)
            text += ':' + c.first + '=' + c.second;
        for (const auto& o : d.options)
            text += ':' + o.first + '=' + o.second;
        decoders << text;
    }
    return decoders.join(',');
}

QString CheckStack(const DecodeStack& stack) {
    if (stack.decoders.isEmpty()) return QStringLiteral("No decoder chosen.");
    const DecoderSetup& bottom = stack.decoders.first();
    const DecoderInfo* info = FindDecoder(bottom.id);
    if (!info) return QStringLiteral("Unknown protocol decoder '%1'.").arg(bottom.id);
    if (!info->inputs.contains("logic"))
        return QStringLiteral("%1 decodes the output of another decoder, not logic lanes.")
            .arg(bottom.id);
    for (const DecoderChannel& c : info->channels)
        if (bottom.channelSource(c.id).isEmpty())
            return QStringLiteral("%1: channel %2 (%3) is not assigned.")
                .arg(bottom.id, c.id, c.name);
    return {};
}

DecoderSetup DefaultSetup(const DecoderInfo& info, int firstLane) {
    DecoderSetup setup;
    setup.id = info.id;
    int lane = firstLane;
    for (const DecoderChannel& c : info.channels)
        setup.channels.push_back({c.id, SourceName(std::min(lane++, kLogicLanes - 1))});
    // A decoder whose channels are all optional (a UART's RX and TX) gets its first.
    if (info.channels.isEmpty() && !info.optionalChannels.isEmpty())
        setup.channels.push_back({info.optionalChannels.first().id, SourceName(firstLane)});
    return setup;
}

QStringList SetupTexts(const DecodeSetup& setup) {
    QStringList texts;
    for (const DecodeStack& s : setup.stacks)
        texts << StackText(s);
    return texts;
}

DecodeSetup SetupOfTexts(const QStringList& texts, double threshold, double hysteresis) {
    DecodeSetup setup;
    setup.threshold = threshold;
    setup.hysteresis = hysteresis;
    for (const QString& text : texts) {
        DecodeStack stack;
        if (ParseStack(text, &stack, nullptr)) setup.stacks.push_back(stack);
    }
    return setup;
}

DecodeSetup CheckedSetupOfTexts(const QStringList& texts, double threshold, double hysteresis,
                                QString* error) {
    DecodeSetup setup;
    setup.threshold = threshold;
    setup.hysteresis = hysteresis;
    for (const QString& text : texts) {
        DecodeStack stack;
        if (!ParseStack(text, &stack, error)) return {};
        if (const QString problem = CheckStack(stack); !problem.isEmpty()) {
            *error = problem;
            return {};
        }
        setup.stacks.push_back(stack);
    }
    return setup;
}

} // namespace decode
