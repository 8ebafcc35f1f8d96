#include <tests/Support/Directories.h>

namespace TestSupport {

std::string testsDirectory() {
    return LPMTRIE_TESTS_DIR;
}

std::string commandPath() {
    return LPMTRIE_COMMAND;
}

}  // namespace TestSupport
