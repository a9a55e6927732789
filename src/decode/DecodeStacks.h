// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What to decode: stacks of decoders, each with its channels taken from the
// capture's lanes (D0..D15, or CH1/CH2 cut at a threshold) and its options.
// Written as the field's command-line habit: "i2c:scl=D1:sda=D2,eeprom24xx"
// is one stack, the decoders after a comma taking the output of the one
// before; several stacks are several such texts.
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

namespace decode {

struct DecoderInfo;

// The lanes a decoder channel can read: D0..D15 are bits 0..15, CH1 and CH2
// (through the threshold) bits 16 and 17. -1 for any other name.
constexpr int kLogicLanes = 16;
constexpr int kSources = 18;
int SourceIndex(const QString& name);
QString SourceName(int index);

struct DecoderSetup {
    QString id;
    QList<QPair<QString, QString>> channels; // decoder channel id, source name
    QList<QPair<QString, QString>> options;  // option id, value as text
    QString channelSource(const QString& channelId) const;
    QString optionValue(const QString& optionId) const; // empty when not set
};

struct DecodeStack {
    QList<DecoderSetup> decoders; // bottom first
    bool usesAnalog() const;      // a channel reads CH1 or CH2
};

// A whole setup: the stacks and how CH1/CH2 become logic (volts; high above
// threshold + hysteresis / 2, low below threshold - hysteresis / 2).
struct DecodeSetup {
    QList<DecodeStack> stacks;
    double threshold = 1.4;
    double hysteresis = 0.2;
    bool empty() const { return stacks.isEmpty(); }
};

// Reads one stack's text against the library's metadata; false with a
// one-line reason (unknown decoder, channel, option or value; a stacked
// decoder that cannot take the output below it).
bool ParseStack(const QString& text, DecodeStack* stack, QString* error);
QString StackText(const DecodeStack& stack);
// Required channels mapped, and every source a lane name; empty when fine.
QString CheckStack(const DecodeStack& stack);
// A decoder with its required channels on consecutive lanes from firstLane,
// its optional ones unmapped (all optional: the first on firstLane), and no
// option changed from its default.
DecoderSetup DefaultSetup(const DecoderInfo& info, int firstLane = 0);

// The setup as kept in the settings, and back; a stack that no longer
// parses (a decoder gone from the library) is dropped.
QStringList SetupTexts(const DecodeSetup& setup);
DecodeSetup SetupOfTexts(const QStringList& texts, double threshold, double hysteresis);
// The same from a user's texts (the command line's -P, the Python module's
// stacks), each checked: an empty setup with the one-line reason in *error
// when one does not read or misses a required channel.
DecodeSetup CheckedSetupOfTexts(const QStringList& texts, double threshold, double hysteresis,
                                QString* error);

} // namespace decode
