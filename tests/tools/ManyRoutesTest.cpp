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
    constexpr char const* usual = "200000";
#endif
    return asked != nullptr ? asked : usual;
}

/** The option that sets how many routes of the family there are. */
class ManyRoutesTest : public testing::TestWithParam<char const*> {
protected:
    /** Address space for so many routes; sanitizers reserve more than any bound. */
    static std::string limit(unsigned long routes) {
#if LPMTRIE_INSTRUMENTED
        static_cast<void>(routes);
        return "unlimited";
#else
        constexpr unsigned long bytesPerRoute = 512;  // the table read and the trie
        return std::to_string(64 * 1024 + routes * bytesPerRoute / 1024);
#endif
    }
};

INSTANTIATE_TEST_SUITE_P(Families, ManyRoutesTest, testing::Values("ipv4", "ipv6"),
                         [](auto const& family) { return std::string(family.param); });

TEST_P(ManyRoutesTest, areInsertedVerifiedFoundAndRemovedWithinABoundOfMemory) {
    std::string const routes = manyRoutes();
    std::string const other = std::string(GetParam()) == "ipv4" ? "ipv6" : "ipv4";
    Ended const ended = runProgram(
        {"/bin/sh", "-c", "ulimit -v " + limit(std::stoul(routes)) + "; exec \"$0\" \"$@\"",
         commandPath, "load", "--builtin", "--json", std::string("--") + GetParam() + "=" + routes,
         "--" + other + "=0"});
    ASSERT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.err, "");
    Json const family = Json::parse(ended.out).at("families").at(0);
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

}  // namespace
}  // namespace ToolsTest
