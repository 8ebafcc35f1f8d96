#pragma once

#include <tools/MrtNames.h>
#include <tools/MrtRecord.h>

namespace LpmTools {

/**
 * Decodes a record of messages between a collector and its peers, behind the microseconds if it has
 * any. False, with nothing done, for a subtype that is not read. Throws MrtFault.
 */
bool readMrtMessage(MrtRecord& record, U16 subtype, MrtCursor& body);

}  // namespace LpmTools
