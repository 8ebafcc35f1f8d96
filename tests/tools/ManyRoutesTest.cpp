#include <tests/Support/Instrumented.h>
#include <tests/tools/RunCommand.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <iostream>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;

/*
 * A table so large that a trie that wastes memory, or time with its size, would be found out.
 * LPMTRIE_ROUTES sets how large: scripts/many-routes asks for ten million.
 */

std::string manyRoutes() {
    char const* const asked = std::getenv("LPMTRIE_ROUTES");
#if LPMTRIE_INSTRUMENTED
    constexpr char const* usual = "20000";
#else
    constexpr char const* usual = "100000";
#endif
    return asked != nullptr ? asked : usual;
}

/** Of a family, which names the option that sets how many routes it has. */
class ManyRoutesTest : public testing::TestWithParam<char const*> {
protected:
    /** The family's report by a command with so many routes, in so much address space for each. */
    static Json reportOf(std::string const& command, unsigned long bytesPerRoute) {
        unsigned long const kibibytes = 64 * 1024 + std::stoul(manyRoutes()) * bytesPerRoute / 1024;
        // Sanitizers reserve more than any bound.
        std::string const limit =
            LPMTRIE_INSTRUMENTED != 0 ? "unlimited" : std::to_string(kibibytes);
        std::string const other = std::string(GetParam()) == "ipv4" ? "ipv6" : "ipv4";
        Ended const ended =
            runProgram({"/bin/sh", "-c", "ulimit -v " + limit + "; exec \"$0\" \"$@\"", commandPath,
                        command, "--builtin", "--json",
                        std::string("--") + GetParam() + "=" + manyRoutes(), "--" + other + "=0"},
                       {.longestSilence = std::chrono::hours(3)});  // for ten millions, at leisure
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.err, "");
        return ended.status == 0 ? Json::parse(ended.out).at("families").at(0) : Json();
    }
};

INSTANTIATE_TEST_SUITE_P(Families, ManyRoutesTest, testing::Values("ipv4", "ipv6"),
                         [](auto const& family) { return std::string(family.param); });

TEST_P(ManyRoutesTest, areInsertedVerifiedFoundAndRemovedWithinABoundOfMemory) {
    Json const family = reportOf("load", 512);
    ASSERT_FALSE(family.is_null());
    std::string const routes = manyRoutes();
    EXPECT_EQ(family.at("routes"), std::stoul(routes));
    EXPECT_EQ(family.at("notFound"), 0);
    EXPECT_EQ(family.at("leftObjects"), 0);
    Json const& seconds = family.at("seconds");
    std::cout << "many routes: " << GetParam() << ": " << routes << " routes, "
              << family.at("bytesPerRoute").get<int>() << " bytes a route; inserted in "
              << seconds.at("insert").get<double>() << " s, verified in "
              << seconds.at("verify").get<double>() << " s, looked up in "
              << seconds.at("lookUp").get<double>() << " s, removed in "
              << seconds.at("remove").get<double>() << " s\n";
}

TEST_P(ManyRoutesTest, areProgrammedIntoTheChipWithinABoundOfMemory) {
    Json const family = reportOf("plan", 1024);
    ASSERT_FALSE(family.is_null());
    std::string const routes = manyRoutes();
    EXPECT_EQ(family.at("table").at("routes"), std::stoul(routes));
    EXPECT_EQ(family.at("owed"), 0);
    EXPECT_EQ(family.at("differences"), 0);
    Json const& answers = family.at("answers");
    EXPECT_GT(answers.at("addresses"), std::stoul(routes));
    EXPECT_EQ(answers.at("wrong"), 0);
    std::cout << "programmed: " << GetParam() << ": " << routes << " routes into "
              << family.at("buckets") << " buckets, " << family.at("counts").at("withdrawn")
              << " withdrawn, in " << family.at("seconds").get<double>() << " s; "
              << answers.at("addresses") << " answers compared, 0 wrong\n";
}

}  // namespace
}  // namespace ToolsTest
