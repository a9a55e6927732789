// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// Inside the decode subsystem only: the decoder library's C interface, its
// start, and the messages it logs (a decoder's Python error among them).
#include <QString>
#include <libsigrokdecode/libsigrokdecode.h>

namespace decode {

// Starts the library; call with LibraryLock() held, as for the next.
bool StartLibrary(QString* error);
// Loads every decoder the library finds (one that fails is left out).
void LoadAllDecoders();
// The error messages the library logged since the last call, one a line.
QString TakeLibraryMessages();

} // namespace decode
