#pragma once

#include <tests/tools/RunCommand.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace ToolsTest {

/** What the command writes; fails the test when the command fails or has something to complain. */
inline std::string outputOf(std::vector<std::string> const& arguments, std::string_view in = {}) {
    Ended const ended = run(arguments, {.in = in});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    return ended.out;
}

/** The same as the document that --json asks for. */
inline nlohmann::json jsonOf(std::vector<std::string> arguments, std::string_view in = {}) {
    arguments.emplace_back("--json");
    return nlohmann::json::parse(outputOf(arguments, in));
}

/** A command in front of its arguments. */
inline std::vector<std::string> callOf(char const* command,
                                       std::vector<std::string> const& arguments) {
    std::vector<std::string> call{command};
    call.insert(call.end(), arguments.begin(), arguments.end());
    return call;
}

/** Cut into two partitions of IPv4 and one of IPv6 where a bucket holds two routes. */
inline constexpr char const* smallTable = "10.0.0.0/16\n2001:db8::/32\n10.1.0.0/16\n10.2.0.0/16\n";

}  // namespace ToolsTest
