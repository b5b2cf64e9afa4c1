// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "system/plugins/byte_coding.h"

/// What messages are made of and taken apart with.
namespace vrel::sandbox {

using vrel::ByteReader;
using vrel::Bytes;
using vrel::ByteWriter;

}  // namespace vrel::sandbox
