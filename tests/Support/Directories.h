#pragma once

#include <string>

namespace TestSupport {

/** The folder of the tests' sources, where golden files lie; without a slash at its end. */
std::string testsDirectory();
/** The path of the lpmtrie command of this build. */
std::string commandPath();

}  // namespace TestSupport
