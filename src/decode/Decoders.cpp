// SPDX-License-Identifier: GPL-3.0-or-later
#include "decode/Decoders.h"

#include "decode/Library.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <map>

namespace decode {

namespace {

QString textOf(GVariant* v, bool* numeric) {
    if (!v) return {};
    if (g_variant_is_of_type(v, G_VARIANT_TYPE_STRING))
        return QString::fromUtf8(g_variant_get_string(v, nullptr));
    *numeric = true;
    if (g_variant_is_of_type(v, G_VARIANT_TYPE_INT64))
        return QString::number(g_variant_get_int64(v));
    if (g_variant_is_of_type(v, G_VARIANT_TYPE_UINT64))
        return QString::number(g_variant_get_uint64(v));
    if (g_variant_is_of_type(v, G_VARIANT_TYPE_DOUBLE))
        return QString::number(g_variant_get_double(v), 'g', 12);
    gchar* printed = g_variant_print(v, FALSE);
    const QString text = QString::fromUtf8(printed);
    g_free(printed);
    return text;
}

QList<DecoderChannel> channelsOf(const GSList* list) {
    QList<DecoderChannel> out;
    for (const GSList* l = list; l; l = l->next) {
        const auto* c = static_cast<const srd_channel*>(l->data);
        out.push_back(
            {QString::fromUtf8(c->id), QString::fromUtf8(c->name), QString::fromUtf8(c->desc)});
    }
    return out;
}

QStringList stringsOf(const GSList* list) {
    QStringList out;
    for (const GSList* l = list; l; l = l->next)
        out << QString::fromUtf8(static_cast<const char*>(l->data));
    return out;
}

DecoderInfo infoOf(const srd_decoder* d) {
    DecoderInfo info;
    info.id = QString::fromUtf8(d->id);
    info.name = QString::fromUtf8(d->name);
    info.longname = QString::fromUtf8(d->longname);
    info.desc = QString::fromUtf8(d->desc);
    info.channels = channelsOf(d->channels);
    info.optionalChannels = channelsOf(d->opt_channels);
    info.inputs = stringsOf(d->inputs);
    info.outputs = stringsOf(d->outputs);
    for (const GSList* l = d->options; l; l = l->next) {
        const auto* o = static_cast<const srd_decoder_option*>(l->data);
        DecoderOption option{QString::fromUtf8(o->id), QString::fromUtf8(o->desc), {}, false, {}};
        option.defaultValue = textOf(o->def, &option.numeric);
        for (const GSList* v = o->values; v; v = v->next) {
            bool numeric = false;
            option.values << textOf(static_cast<GVariant*>(v->data), &numeric);
        }
        info.options.push_back(option);
    }
    for (const GSList* l = d->annotations; l; l = l->next) {
        // Each class is a NULL-ended array of two strings: id and description.
        const auto* pair = static_cast<char* const*>(l->data);
        info.classes << QString::fromUtf8(pair[0]);
    }
    QList<bool> placed(info.classes.size(), false);
    for (const GSList* l = d->annotation_rows; l; l = l->next) {
        const auto* r = static_cast<const srd_decoder_annotation_row*>(l->data);
        DecoderRow row{QString::fromUtf8(r->id), QString::fromUtf8(r->desc), {}};
        for (const GSList* c = r->ann_classes; c; c = c->next) {
            const int cls = GPOINTER_TO_INT(c->data);
            row.classes << cls;
            if (cls >= 0 && cls < placed.size()) placed[cls] = true;
        }
        info.rows.push_back(row);
    }
    for (int cls = 0; cls < info.classes.size(); ++cls)
        if (!placed[cls]) info.rows.push_back({info.classes[cls], info.classes[cls], {cls}});
    return info;
}

// The decoders read so far, by id. Filled under the library's lock; looked up
// under the catalogue's own, so a window finds a decoder while a decode runs.
struct Catalogue {
    std::mutex lock;
    std::map<QString, DecoderInfo> decoders;
    bool all = false;
    const DecoderInfo* find(const QString& id) {
        std::lock_guard<std::mutex> guard(lock);
        const auto it = decoders.find(id);
        return it == decoders.end() ? nullptr : &it->second;
    }
    void add(const srd_decoder* d) {
        DecoderInfo info = infoOf(d);
        std::lock_guard<std::mutex> guard(lock);
        decoders.try_emplace(info.id, std::move(info));
    }
};

Catalogue& catalogue() {
    static Catalogue c;
    return c;
}

struct Start {
    std::atomic<bool> tried{false};
    bool ready = false;
    QString error;
};

Start& start() {
    static Start s;
    return s;
}

} // namespace

std::mutex& LibraryLock() {
    static std::mutex lock;
    return lock;
}

const DecoderChannel* DecoderInfo::channel(const QString& channelId) const {
    for (const DecoderChannel& c : channels)
        if (c.id == channelId) return &c;
    for (const DecoderChannel& c : optionalChannels)
        if (c.id == channelId) return &c;
    return nullptr;
}

const DecoderOption* DecoderInfo::option(const QString& optionId) const {
    for (const DecoderOption& o : options)
        if (o.id == optionId) return &o;
    return nullptr;
}

int DecoderInfo::rowOfClass(int cls) const {
    for (int r = 0; r < rows.size(); ++r)
        if (rows[r].classes.contains(cls)) return r;
    return rows.isEmpty() ? -1 : 0;
}

bool DecodersReady(QString* error) {
    Start& s = start();
    if (!s.tried.load()) {
        std::lock_guard<std::mutex> guard(LibraryLock());
        if (!s.tried.load()) {
            s.ready = StartLibrary(&s.error);
            s.tried = true;
        }
    }
    if (!s.ready && error) *error = s.error;
    return s.ready;
}

QList<const DecoderInfo*> DecoderList() {
    QList<const DecoderInfo*> out;
    if (!DecodersReady()) return out;
    Catalogue& c = catalogue();
    {
        std::lock_guard<std::mutex> guard(LibraryLock());
        if (!c.all) {
            LoadAllDecoders();
            for (const GSList* l = srd_decoder_list(); l; l = l->next)
                c.add(static_cast<const srd_decoder*>(l->data));
            c.all = true;
        }
    }
    std::lock_guard<std::mutex> guard(c.lock);
    for (const auto& [id, info] : c.decoders)
        out << &info;
    return out;
}

const DecoderInfo* FindDecoder(const QString& id) {
    if (id.isEmpty() || !DecodersReady()) return nullptr;
    Catalogue& c = catalogue();
    if (const DecoderInfo* known = c.find(id)) return known;
    std::lock_guard<std::mutex> guard(LibraryLock());
    if (const DecoderInfo* known = c.find(id)) return known;
    const QByteArray name = id.toUtf8();
    // Ids are folder names under the decoders' path: nothing else is tried.
    for (char ch : name)
        if (!std::isalnum(static_cast<unsigned char>(ch)) && ch != '_') return nullptr;
    const srd_decoder* d = srd_decoder_get_by_id(name.constData());
    if (!d && srd_decoder_load(name.constData()) == SRD_OK)
        d = srd_decoder_get_by_id(name.constData());
    TakeLibraryMessages(); // "no such decoder" is the caller's to say
    if (!d) return nullptr;
    c.add(d);
    return c.find(id);
}

bool CanStack(const DecoderInfo& below, const DecoderInfo& above) {
    for (const QString& input : above.inputs)
        if (below.outputs.contains(input)) return true;
    return false;
}

QList<const DecoderInfo*> DecodersAbove(const DecoderInfo& below) {
    QList<const DecoderInfo*> out;
    for (const DecoderInfo* d : DecoderList())
        if (CanStack(below, *d)) out << d;
    return out;
}

} // namespace decode
