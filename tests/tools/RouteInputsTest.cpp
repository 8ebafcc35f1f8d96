#include <tools/RouteInputs.h>

#include <tests/tools/MrtBytes.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using testing::ElementsAre;

class RouteInputsTest : public testing::Test {
protected:
    std::vector<std::string> tableOf(std::string_view text) {
        std::array<std::string, 1> const paths{files_.write("table", text)};
        std::vector<std::string> prefixes;
        for (LpmClient::Route const& route : inputs_.readTables(paths)) {
            prefixes.push_back(route.prefix.stringValue());
        }
        return prefixes;
    }

    ToolsTest::TemporaryDirectory const files_;
    NextHopNumbers nextHops_;
    RouteInputs inputs_{{}, nextHops_};
};

TEST_F(RouteInputsTest, routesComeInTheOrderReadEachOnce) {
    EXPECT_THAT(tableOf("12.0.0.0/8\n10.0.0.0/8\n12.0.0.0/8\n11.0.0.0/8\n"),
                ElementsAre("12.0.0.0/8", "10.0.0.0/8", "11.0.0.0/8"));
}

TEST_F(RouteInputsTest, routeThatWentAndCameAgainHasComeTheLastTime) {
    EXPECT_THAT(tableOf("10.0.0.0/8\n11.0.0.0/8\n12.0.0.0/8\nW 10.0.0.0/8\nW 12.0.0.0/8\n"
                        "10.0.0.0/8\n13.0.0.0/8\n"),
                ElementsAre("11.0.0.0/8", "10.0.0.0/8", "13.0.0.0/8"));
}

// So often that what is gone is forgotten several times on the way.
TEST_F(RouteInputsTest, orderIsTheSameHoweverOftenRoutesFlap) {
    std::string text = "10.0.0.0/8\n";
    for (int i = 0; i < 10'000; ++i) {
        text += "A 20.0.0.0/8\n" + std::string(i == 7'000 ? "11.0.0.0/8\n" : "") + "W 20.0.0.0/8\n";
    }
    EXPECT_THAT(tableOf(text + "12.0.0.0/8\nW 10.0.0.0/8\n10.0.0.0/8\n"),
                ElementsAre("11.0.0.0/8", "12.0.0.0/8", "10.0.0.0/8"));
}

TEST_F(RouteInputsTest, updatesAreHandedOnWithWhatTheyMean) {
    std::array<std::string, 1> const paths{
        files_.write("updates", "A 10.0.0.0/8 192.0.2.1\nA 10.0.0.0/8 192.0.2.1\n"
                                "A 10.0.0.0/8 192.0.2.2\nW 10.0.0.0/8\n")};
    std::vector<std::pair<RouteChange, LpmClient::NextHop>> changes;
    inputs_.readUpdates(paths, [&](RouteEvent const& event) {
        changes.emplace_back(event.change, event.route.nextHop);
    });
    EXPECT_THAT(changes,
                ElementsAre(std::pair(RouteChange::added, 1), std::pair(RouteChange::none, 0),
                            std::pair(RouteChange::nextHopChanged, 2),
                            std::pair(RouteChange::removed, 0)));
    EXPECT_EQ(inputs_.reports().at(0).withdrawn, 1U);
}

TEST_F(RouteInputsTest, nextHopsAreToldAsTheirAddresses) {
    tableOf("A 10.0.0.0/8 192.0.2.1\nA 11.0.0.0/8 2001:db8::1\n");
    EXPECT_EQ(nextHops_.textOf(1), "192.0.2.1");
    EXPECT_EQ(nextHops_.textOf(2), "2001:db8::1");
    EXPECT_EQ(nextHops_.textOf(3), "");
    auto const bytes = ToolsTest::address("2001:db8::2") + ToolsTest::address("fe80::1");
    NextHop const both(std::span(reinterpret_cast<Vexo::U8 const*>(bytes.data()), bytes.size()));
    EXPECT_EQ(nextHops_.textOf(nextHops_.of(both)), "2001:db8::2 fe80::1");
}

TEST_F(RouteInputsTest, messagesThatAreNotUsedAreCounted) {
    using namespace ToolsTest;
    std::string const stateChange = record(16, 5, Session().longAs() + u16(5) + u16(6));
    std::string const keepalive = record(16, 4, Session().longAs() + message(4, ""));
    tableOf(keepalive + stateChange + keepalive);
    using Skipped = std::pair<std::string, U64>;
    EXPECT_THAT(inputs_.reports().at(0).skipped,
                ElementsAre(Skipped("keepalives", 2), Skipped("state changes of sessions", 1)));
}

TEST_F(RouteInputsTest, recordsOfUnknownKindsAreCountedByName) {
    using namespace ToolsTest;
    std::string stream = record(11, 0, "ospf") + record(999, 3, "x") + record(11, 0, "ospf");
    for (U32 subtype = 0; subtype < LpmTools::MrtReader::mostUnknownKinds; ++subtype) {
        stream += record(100, subtype, "");
    }
    tableOf(stream);
    auto const& skipped = inputs_.reports().at(0).skipped;
    using Skipped = std::pair<std::string, U64>;
    ASSERT_EQ(skipped.size(), LpmTools::MrtReader::mostUnknownKinds + 1);
    EXPECT_EQ(skipped.front(), Skipped("OSPFv2", 2));
    EXPECT_THAT(skipped, testing::Contains(Skipped("type 999/3", 1)));
    EXPECT_EQ(skipped.back(), Skipped("records of further kinds", 2));
}

TEST_F(RouteInputsTest, fileThatCannotBeOpenedIsToldAtOnce) {
    std::array const paths{std::string("-"), files_.write("table", ""), files_.path("no")};
    EXPECT_NO_THROW(checkReadable(std::span(paths).first(2)));
    try {
        checkReadable(paths);
        FAIL() << "a file that there is not is readable";
    } catch (InputError const& error) {
        EXPECT_EQ(error.what(), paths[2] + ": cannot open: No such file or directory");
    }
}

}  // namespace
}  // namespace LpmTools
