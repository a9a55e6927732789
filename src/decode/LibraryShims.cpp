// SPDX-License-Identifier: GPL-3.0-or-later
// The decoder library's functions this program calls, forwarded to the
// library opened on first use (see platform/LazyLibrary.h). Without the
// library each answers as the library does for a failure.
#include "platform/LazyLibrary.h"

#include <libsigrokdecode/libsigrokdecode.h>

namespace {
platform::LazyLibrary& decoders() {
    static platform::LazyLibrary library("libsigrokdecode.so.4");
    return library;
}
} // namespace

#define FORWARD(name, fallback, ...) KORVANE_FORWARD(decoders(), name, fallback, __VA_ARGS__)

extern "C" {
int srd_init(const char* path) {
    FORWARD(srd_init, SRD_ERR, path);
}
int srd_decoder_load_all(void) {
    FORWARD(srd_decoder_load_all, SRD_ERR);
}
const GSList* srd_decoder_list(void) {
    FORWARD(srd_decoder_list, nullptr);
}
struct srd_decoder* srd_decoder_get_by_id(const char* id) {
    FORWARD(srd_decoder_get_by_id, nullptr, id);
}
int srd_decoder_load(const char* name) {
    FORWARD(srd_decoder_load, SRD_ERR, name);
}
int srd_log_callback_set(srd_log_callback cb, void* cb_data) {
    FORWARD(srd_log_callback_set, SRD_ERR, cb, cb_data);
}
int srd_log_loglevel_set(int loglevel) {
    FORWARD(srd_log_loglevel_set, SRD_ERR, loglevel);
}
const char* srd_strerror(int error_code) {
    FORWARD(srd_strerror, "the protocol decoder library is missing", error_code);
}
int srd_session_new(struct srd_session** sess) {
    FORWARD(srd_session_new, SRD_ERR, sess);
}
struct srd_decoder_inst* srd_inst_new(struct srd_session* sess, const char* id,
                                      GHashTable* options) {
    FORWARD(srd_inst_new, nullptr, sess, id, options);
}
int srd_inst_channel_set_all(struct srd_decoder_inst* di, GHashTable* channels) {
    FORWARD(srd_inst_channel_set_all, SRD_ERR, di, channels);
}
int srd_inst_stack(struct srd_session* sess, struct srd_decoder_inst* di_from,
                   struct srd_decoder_inst* di_to) {
    FORWARD(srd_inst_stack, SRD_ERR, sess, di_from, di_to);
}
int srd_pd_output_callback_add(struct srd_session* sess, int output_type, srd_pd_output_callback cb,
                               void* cb_data) {
    FORWARD(srd_pd_output_callback_add, SRD_ERR, sess, output_type, cb, cb_data);
}
int srd_session_metadata_set(struct srd_session* sess, int key, GVariant* data) {
    FORWARD(srd_session_metadata_set, SRD_ERR, sess, key, data);
}
int srd_session_start(struct srd_session* sess) {
    FORWARD(srd_session_start, SRD_ERR, sess);
}
int srd_session_send(struct srd_session* sess, uint64_t abs_start_samplenum,
                     uint64_t abs_end_samplenum, const uint8_t* inbuf, uint64_t inbuflen,
                     uint64_t unitsize) {
    FORWARD(srd_session_send, SRD_ERR, sess, abs_start_samplenum, abs_end_samplenum, inbuf,
            inbuflen, unitsize);
}
int srd_session_terminate_reset(struct srd_session* sess) {
    FORWARD(srd_session_terminate_reset, SRD_ERR, sess);
}
int srd_session_destroy(struct srd_session* sess) {
    FORWARD(srd_session_destroy, SRD_ERR, sess);
}
}
