#include <tools/ExitStatus.h>

#include <tools/Output.h>

#include <iostream>

namespace LpmTools {

void tellProblem(std::string const& what) {
    std::cerr << "lpmtrie: " << onOneLine(what) << '\n';
}

int fail(std::string const& why, int status) {
    tellProblem(why);
    return status;
}

}  // namespace LpmTools
