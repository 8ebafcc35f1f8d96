#pragma once

#include <tools/MrtNames.h>
#include <tools/MrtRecord.h>

#include <optional>
#include <vector>

namespace LpmTools {

/** The peers' numbers in MrtPeers, in the order of the dump's own index; none before it is read. */
using MrtPeerIndex = std::optional<std::vector<U32>>;

/**
 * Decodes a record of a table dump of either version. False, with nothing done, for a subtype that
 * is not read. Throws MrtFault.
 */
bool readMrtDump(MrtRecord& record, MrtKind kind, MrtCursor& body, MrtPeerIndex& peerIndex);

}  // namespace LpmTools
