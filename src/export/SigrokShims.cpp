// SPDX-License-Identifier: GPL-3.0-or-later
// The session writer's functions this program calls, forwarded to libsigrok
// opened on first use (see platform/LazyLibrary.h). Without the library each
// answers as the library does for a failure.
#include "platform/LazyLibrary.h"

#include <libsigrok/libsigrok.h>

namespace {
platform::LazyLibrary& sigrok() {
    static platform::LazyLibrary library("libsigrok.so.4");
    return library;
}
} // namespace

#define FORWARD(name, fallback, ...) KORVANE_FORWARD(sigrok(), name, fallback, __VA_ARGS__)

extern "C" {
int sr_init(struct sr_context** ctx) {
    FORWARD(sr_init, SR_ERR, ctx);
}
const struct sr_output_module* sr_output_find(char* id) {
    FORWARD(sr_output_find, nullptr, id);
}
struct sr_dev_inst* sr_dev_inst_user_new(const char* vendor, const char* model,
                                         const char* version) {
    FORWARD(sr_dev_inst_user_new, nullptr, vendor, model, version);
}
int sr_dev_inst_channel_add(struct sr_dev_inst* sdi, int index, int type, const char* name) {
    FORWARD(sr_dev_inst_channel_add, SR_ERR, sdi, index, type, name);
}
GSList* sr_dev_inst_channels_get(const struct sr_dev_inst* sdi) {
    FORWARD(sr_dev_inst_channels_get, nullptr, sdi);
}
const struct sr_output* sr_output_new(const struct sr_output_module* omod, GHashTable* params,
                                      const struct sr_dev_inst* sdi, const char* filename) {
    FORWARD(sr_output_new, nullptr, omod, params, sdi, filename);
}
int sr_output_send(const struct sr_output* o, const struct sr_datafeed_packet* packet,
                   GString** out) {
    FORWARD(sr_output_send, SR_ERR, o, packet, out);
}
int sr_output_free(const struct sr_output* o) {
    FORWARD(sr_output_free, SR_ERR, o);
}
}
