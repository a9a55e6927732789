// SPDX-License-Identifier: GPL-3.0-or-later
#include "decode/Decode.h"

#include "decode/Decoders.h"
#include "decode/Library.h"
#include "export/CaptureExport.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace decode {

std::vector<bool> ThresholdLane(std::span<const float> volts, double threshold,
                                double hysteresis) {
    std::vector<bool> out(volts.size());
    const double high = threshold + std::abs(hysteresis) / 2,
                 low = threshold - std::abs(hysteresis) / 2;
    bool state = !volts.empty() && volts.front() >= threshold;
    for (std::size_t i = 0; i < volts.size(); ++i) {
        if (state && volts[i] < low)
            state = false;
        else if (!state && volts[i] > high)
            state = true;
        out[i] = state;
    }
    return out;
}

DecodeInput InputOfCapture(const Capture& capture, const DecodeSetup& setup) {
    DecodeInput in;
    in.sampleRate = capture.sampleRate;
    in.firstTime = capture.firstTime;
    bool analog = false;
    for (const DecodeStack& s : setup.stacks)
        analog = analog || s.usesAnalog();
    in.unitSize = analog ? 4 : 2;
    const auto n = static_cast<std::size_t>(capture.samples());
    in.bytes.assign(n * static_cast<std::size_t>(in.unitSize), 0);
    if (capture.hasLogic)
        for (std::size_t i = 0; i < n && i < capture.logic.size(); ++i) {
            in.bytes[i * in.unitSize] = static_cast<std::uint8_t>(capture.logic[i] & 0xFF);
            in.bytes[i * in.unitSize + 1] = static_cast<std::uint8_t>(capture.logic[i] >> 8);
        }
    if (analog)
        for (int k = 0; k < capture.analogNames.size(); ++k) {
            const int bit = SourceIndex(capture.analogNames[k]) - kLogicLanes;
            if (bit < 0 || bit > 1) continue;
            const std::vector<bool> lane = ThresholdLane(
                capture.analog[static_cast<std::size_t>(k)], setup.threshold, setup.hysteresis);
            for (std::size_t i = 0; i < n && i < lane.size(); ++i)
                if (lane[i]) in.bytes[i * 4 + 2] |= static_cast<std::uint8_t>(1 << bit);
        }
    return in;
}

namespace {

// What the library's callbacks fill; they run on its decoder threads.
struct Collector {
    std::mutex lock;
    QMap<const srd_decoder_inst*, int> rowBase; // an instance's first row
    QMap<const srd_decoder_inst*, const DecoderInfo*> infos;
    DecodeResult* result = nullptr;
};

void onAnnotation(srd_proto_data* pdata, void* data) {
    auto* c = static_cast<Collector*>(data);
    const auto* ann = static_cast<const srd_proto_data_annotation*>(pdata->data);
    std::lock_guard<std::mutex> guard(c->lock);
    const srd_decoder_inst* di = pdata->pdo->di;
    const DecoderInfo* info = c->infos.value(di);
    if (!info || !ann) return;
    Annotation a;
    a.start = static_cast<std::int64_t>(pdata->start_sample);
    a.end = static_cast<std::int64_t>(pdata->end_sample);
    a.cls = ann->ann_class;
    a.row = c->rowBase.value(di) + std::max(0, info->rowOfClass(ann->ann_class));
    for (char** t = ann->ann_text; t && *t; ++t)
        a.texts << QString::fromUtf8(*t);
    c->result->annotations.push_back(std::move(a));
}

void onBinary(srd_proto_data* pdata, void* data) {
    auto* c = static_cast<Collector*>(data);
    const auto* bin = static_cast<const srd_proto_data_binary*>(pdata->data);
    std::lock_guard<std::mutex> guard(c->lock);
    const srd_decoder_inst* di = pdata->pdo->di;
    if (!bin || !c->infos.contains(di)) return;
    const QString key = QString::fromUtf8(di->decoder->id) + '/' + QString::number(bin->bin_class);
    c->result->binary[key].append(reinterpret_cast<const char*>(bin->data),
                                  static_cast<qsizetype>(bin->size));
}

GHashTable* newTable() {
    return g_hash_table_new_full(g_str_hash, g_str_equal, g_free,
                                 reinterpret_cast<GDestroyNotify>(g_variant_unref));
}

GVariant* optionVariant(const DecoderOption& o, const QString& value) {
    if (!o.numeric) return g_variant_new_string(value.toUtf8().constData());
    if (o.defaultValue.contains('.') || value.contains('.') ||
        value.contains('e', Qt::CaseInsensitive))
        return g_variant_new_double(value.toDouble());
    return g_variant_new_int64(value.toLongLong());
}

// One decoder of a stack in the session; nullptr with *error on failure.
srd_decoder_inst* newInstance(srd_session* session, const DecoderSetup& setup,
                              const DecoderInfo& info, QString* error) {
    GHashTable* options = newTable();
    for (const auto& [id, value] : setup.options)
        if (const DecoderOption* o = info.option(id))
            g_hash_table_insert(options, g_strdup(id.toUtf8().constData()),
                                g_variant_ref_sink(optionVariant(*o, value)));
    srd_decoder_inst* di = srd_inst_new(session, setup.id.toUtf8().constData(), options);
    g_hash_table_destroy(options);
    if (!di) {
        *error = QStringLiteral("%1 does not accept these options.").arg(setup.id);
        return nullptr;
    }
    // Always set: a channel the setup leaves out is unassigned, not the lane
    // of its own number.
    if (!info.channels.isEmpty() || !info.optionalChannels.isEmpty()) {
        GHashTable* channels = newTable();
        for (const auto& [id, source] : setup.channels)
            g_hash_table_insert(channels, g_strdup(id.toUtf8().constData()),
                                g_variant_ref_sink(g_variant_new_int32(SourceIndex(source))));
        const int rc = srd_inst_channel_set_all(di, channels);
        g_hash_table_destroy(channels);
        if (rc != SRD_OK) {
            *error = QStringLiteral("%1: the channels cannot be set (%2).")
                         .arg(setup.id, srd_strerror(rc));
            return nullptr;
        }
    }
    return di;
}

QString libraryError(int rc) {
    const QString logged = TakeLibraryMessages();
    if (!logged.isEmpty()) return QStringLiteral("The decoder stopped with an error:\n") + logged;
    return QStringLiteral("The decoder stopped with an error: %1").arg(srd_strerror(rc));
}

} // namespace

DecodeResult RunDecode(const DecodeSetup& setup, const DecodeInput& input,
                       const DecodeProgress& progress) {
    DecodeResult result;
    result.sampleRate = input.sampleRate;
    result.firstTime = input.firstTime;
    if (!DecodersReady(&result.error)) return result;
    if (input.sampleRate <= 0 || input.samples() == 0) {
        result.error = QStringLiteral("The capture holds no samples to decode.");
        return result;
    }
    for (const DecodeStack& s : setup.stacks)
        if (const QString problem = CheckStack(s); !problem.isEmpty()) {
            result.error = problem;
            return result;
        }

    std::lock_guard<std::mutex> guard(LibraryLock());
    TakeLibraryMessages();
    Collector collector;
    collector.result = &result;
    srd_session* session = nullptr;
    if (srd_session_new(&session) != SRD_OK) {
        result.error = libraryError(SRD_ERR);
        return result;
    }
    for (int s = 0; s < setup.stacks.size() && result.error.isEmpty(); ++s) {
        srd_decoder_inst* below = nullptr;
        for (const DecoderSetup& d : setup.stacks[s].decoders) {
            const DecoderInfo* info = FindDecoder(d.id);
            srd_decoder_inst* di = info ? newInstance(session, d, *info, &result.error) : nullptr;
            if (!di) break;
            if (below && srd_inst_stack(session, below, di) != SRD_OK) {
                result.error =
                    QStringLiteral("%1 cannot stack on %2.").arg(d.id, below->decoder->id);
                break;
            }
            collector.infos[di] = info;
            collector.rowBase[di] = static_cast<int>(result.rows.size());
            for (const DecoderRow& r : info->rows)
                result.rows.push_back({s, d.id, r.id, r.desc});
            below = di;
        }
    }
    const auto rate = static_cast<std::uint64_t>(std::llround(input.sampleRate));
    int rc = SRD_OK;
    if (result.error.isEmpty()) {
        srd_pd_output_callback_add(session, SRD_OUTPUT_ANN, onAnnotation, &collector);
        srd_pd_output_callback_add(session, SRD_OUTPUT_BINARY, onBinary, &collector);
        rc = srd_session_metadata_set(session, SRD_CONF_SAMPLERATE,
                                      g_variant_new_uint64(std::max<std::uint64_t>(rate, 1)));
        if (rc == SRD_OK) rc = srd_session_start(session);
        if (rc != SRD_OK) result.error = libraryError(rc);
    }
    const std::int64_t total = input.samples();
    for (std::int64_t at = 0; at < total && result.error.isEmpty(); at += kDecodeBlock) {
        if (progress && !progress(static_cast<int>(at * 100 / total))) {
            result.cancelled = true;
            break;
        }
        const std::int64_t n = std::min(kDecodeBlock, total - at);
        rc = srd_session_send(session, static_cast<std::uint64_t>(at),
                              static_cast<std::uint64_t>(at + n),
                              input.bytes.data() + at * input.unitSize,
                              static_cast<std::uint64_t>(n * input.unitSize),
                              static_cast<std::uint64_t>(input.unitSize));
        if (rc != SRD_OK) result.error = libraryError(rc);
    }
    srd_session_terminate_reset(session);
    srd_session_destroy(session);
    TakeLibraryMessages();
    if (progress && result.error.isEmpty() && !result.cancelled) progress(100);
    std::stable_sort(result.annotations.begin(), result.annotations.end(),
                     [](const Annotation& a, const Annotation& b) {
                         return a.start != b.start ? a.start < b.start : a.row < b.row;
                     });
    return result;
}

namespace {
QString csvField(const QString& text) {
    if (!text.contains(',') && !text.contains('"') && !text.contains('\n')) return text;
    QString quoted = text;
    quoted.replace('"', "\"\"");
    return '"' + quoted + '"';
}
} // namespace

QByteArray AnnotationsCsv(const DecodeResult& result, const std::vector<int>& rows) {
    QString out = QStringLiteral("start sample,end sample,time (s),decoder,row,text\n");
    for (const Annotation& a : result.annotations) {
        if (!rows.empty() && std::find(rows.begin(), rows.end(), a.row) == rows.end()) continue;
        const AnnotationRow& r = result.rows[a.row];
        out += QString::number(a.start) + ',' + QString::number(a.end) + ',' +
               QString::number(result.timeOf(a.start), 'g', 12) + ',' + csvField(r.decoder) + ',' +
               csvField(r.id) + ',' + csvField(a.texts.value(0)) + '\n';
    }
    return out.toUtf8();
}

QString AnnotationLine(const DecodeResult& result, const Annotation& a) {
    const AnnotationRow& r = result.rows[a.row];
    return QStringLiteral("%1-%2 %3: %4: %5")
        .arg(a.start)
        .arg(a.end)
        .arg(r.decoder, r.id, a.texts.value(0));
}

} // namespace decode
