#include <tools/MrtCursor.h>

namespace LpmTools {

void MrtCursor::throwPastEnd(char const* what) const {
    throw MrtFault(std::string("the ") + what + " runs past the end of the " + place_);
}

}  // namespace LpmTools
