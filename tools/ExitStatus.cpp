#include <tools/ExitStatus.h>

#include <tools/Output.h>

#include <iostream>

namespace LpmTools {

int fail(std::string const& why, int status) {
    std::cerr << "lpmtrie: " << onOneLine(why) << '\n';
    return status;
}

}  // namespace LpmTools
