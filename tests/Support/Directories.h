#pragma once

#include <string>

namespace TestSupport {

/** The folder of the tests' sources, where golden files lie; without a slash at its end. */
std::string testsDirectory();
/** The top of the build tree, below which the lpmtrie command lies; without a slash at its end. */
std::string buildDirectory();

}  // namespace TestSupport
