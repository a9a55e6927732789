// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The protocol decoders the system's decoder library ships, as plain
// records read once from the library's own metadata: their channels,
// options with defaults and allowed values, annotation classes and rows,
// and what they take and give for stacking.
#include <QList>
#include <QString>
#include <QStringList>
#include <mutex>

namespace decode {

struct DecoderChannel {
    QString id, name, desc;
};

struct DecoderOption {
    QString id, desc;
    QString defaultValue; // as text; empty when the decoder gives none
    bool numeric = false; // the default is a number
    QStringList values;   // the allowed values; empty = free
};

struct DecoderRow {
    QString id, desc;
    QList<int> classes; // annotation classes shown on this row
};

struct DecoderInfo {
    QString id, name, longname, desc;
    QList<DecoderChannel> channels, optionalChannels;
    QList<DecoderOption> options;
    QStringList classes; // annotation class ids, by index
    QList<DecoderRow> rows;
    QStringList inputs, outputs;
    const DecoderChannel* channel(const QString& id) const;
    const DecoderOption* option(const QString& id) const;
    // The row of an annotation class; classes no row names get their own.
    int rowOfClass(int cls) const;
};

// Starts the library once; false with the reason when it or its Python
// cannot start (then there is nothing to decode with).
bool DecodersReady(QString* error = nullptr);
// Every decoder, sorted by id (the first call loads them all, about 0.2 s).
// Empty when not ready. The records stay put for the program's life.
QList<const DecoderInfo*> DecoderList();
// One decoder, loaded on its first use only, so a command line that names
// two decoders does not load a hundred; nullptr when there is none so named.
const DecoderInfo* FindDecoder(const QString& id);
// Decoders that can stack on top of `below` (take one of its outputs).
QList<const DecoderInfo*> DecodersAbove(const DecoderInfo& below);
bool CanStack(const DecoderInfo& below, const DecoderInfo& above);

// Every call into the library holds this lock: its Python runs one caller at a time.
std::mutex& LibraryLock();

} // namespace decode
