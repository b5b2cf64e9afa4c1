// SPDX-License-Identifier: GPL-3.0-or-later
// A precompiled header needs a source.
int main() {}
