// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel::sandbox {

/// Splits this process: what returns is the guest, the child; the parent keeps it and never returns. `program` is the
/// process that has started this one. False when that has gone already, or there can be no child.
///
/// The keeper is there for what a plug-in starts and prints. Processes that it starts may leave the guest's group and
/// session, but they are the keeper's descendants, and it adopts those whose parents end (a subreaper). When the guest
/// ends, the keeper kills and reaps them all, bounded, and then ends in the same way as the guest. It does so, too,
/// when it gets `keeperEndSignal`: from the host, and from the system when the host's thread has ended. It passes the
/// first `guestLogBytes` of what the guest prints on to its own standard error, and drops the rest.
///
/// The guest is killed by the system should its keeper be. It has at most `guestMemoryBytes` of private memory, and
/// ignores what asks a program to end: the host answers that, after a question perhaps, and plays on until then.
[[nodiscard]] bool keepGuest(int program);

}  // namespace vrel::sandbox
