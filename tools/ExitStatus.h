#pragma once

#include <string>

namespace LpmTools {

constexpr int statusDone = 0;
constexpr int statusFailed = 1;
constexpr int statusMisused = 2;
// Of `diff`, whose caller must not take a failure for an answer: all of them are the second.
constexpr int statusDifferent = 1;
constexpr int statusUndecided = 2;

/** Tells in one line on standard error what is amiss. */
void tellProblem(std::string const& what);

/** Tells in one line on standard error what is wrong; answers `status`. */
int fail(std::string const& why, int status);

}  // namespace LpmTools
