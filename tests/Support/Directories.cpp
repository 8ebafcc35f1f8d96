#include <tests/Support/Directories.h>

namespace TestSupport {

std::string testsDirectory() {
    return LPMTRIE_TESTS_DIR;
}

std::string buildDirectory() {
    return LPMTRIE_BUILD_DIR;
}

}  // namespace TestSupport
