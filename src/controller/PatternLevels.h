// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The pattern and duration codes: the sixteen levels in the tree, and the
// command that carries them.

constexpr int kNoChangedBit = -1;
// Sends the levels of the current method (pattern, else duration); with a
// changed channel that now holds an edge, every other edge becomes "X" first.
void SendPatternLevels(int changedBit = kNoChangedBit);
