#include <tools/RouteUpdates.h>

#include <tests/tools/MrtBytes.h>
#include <tests/tools/Packing.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using namespace ToolsTest;
using Nimbal::IpGenPrefix;
using testing::ElementsAre;
using testing::HasSubstr;

class RouteUpdatesTest : public testing::Test {
protected:
    /** Each update and its change, and then the error, if there was one. */
    std::vector<std::string> read(std::string_view bytes, TableOptions const& options = {}) {
        std::vector<std::string> texts;
        RouteUpdates updates(files_.write("updates", bytes), options, peers_, table_);
        try {
            for (RouteUpdate update; updates.next(update);) {
                constexpr std::array changes{"none", "added", "removed", "nextHopChanged"};
                texts.push_back((update.isWithdrawal ? "W " : "A ") + update.prefix.stringValue() +
                                " " + changes[static_cast<std::size_t>(update.change)]);
            }
        } catch (std::runtime_error const& error) {
            texts.emplace_back(error.what());
        }
        text_ = updates.text();
        isMrt_ = updates.mrt() != nullptr;
        return texts;
    }
    std::string at(unsigned line) const {
        return files_.path("updates") + ":" + std::to_string(line) + ": ";
    }

    TemporaryDirectory const files_;
    MrtPeers peers_;
    PathTable table_{peers_};
    TextCounts text_;
    bool isMrt_ = false;
};

TEST_F(RouteUpdatesTest, linesAnnounceAndWithdraw) {
    EXPECT_THAT(read("# updates\nA 10.0.0.0/8\n\n A\t10.0.0.0/8  192.0.2.1 # via\r\n"
                     "A 10.0.0.0/8 192.0.2.1\nA a::/16 2001:db8::1\nW 10.0.0.0/8\nW 10.0.0.0/8\n"),
                ElementsAre("A 10.0.0.0/8 added", "A 10.0.0.0/8 nextHopChanged",
                            "A 10.0.0.0/8 none", "A a::/16 added", "W 10.0.0.0/8 removed",
                            "W 10.0.0.0/8 none"));
    EXPECT_EQ(text_.lines, 8U);
    EXPECT_FALSE(isMrt_);
    EXPECT_EQ(table_.nextHop(IpGenPrefix::fromString("a::/16"))->size, 16U);
}

TEST_F(RouteUpdatesTest, tableIsAStreamOfAnnouncements) {
    EXPECT_THAT(read(gzipped("10.0.0.0/8\nA::/16\n10.0.0.0/8\n")),
                ElementsAre("A 10.0.0.0/8 added", "A a::/16 added", "A 10.0.0.0/8 none"));
    EXPECT_THAT(read(""), ElementsAre());
    EXPECT_FALSE(isMrt_);
}

TEST_F(RouteUpdatesTest, mrtIsRecognisedAndBringsPathsOfItsOwnPeers) {
    read("10.0.0.0/8\n");
    EXPECT_THAT(
        read(bzip2ed(updateRecord({}, nextHop("192.0.2.9"), routes({"10.0.0.0/8", "11.0.0.0/8"})))),
        ElementsAre("A 10.0.0.0/8 none", "A 11.0.0.0/8 added"));
    EXPECT_TRUE(isMrt_);
    EXPECT_THAT(read("W 10.0.0.0/8\n"), ElementsAre("W 10.0.0.0/8 nextHopChanged"));
    EXPECT_THAT(read(updateRecord(routes({"10.0.0.0/8"}), {}, {}) + "x"),
                ElementsAre("W 10.0.0.0/8 removed", HasSubstr("updates: record 2 at byte ")));
}

TEST_F(RouteUpdatesTest, badLineEndsTheReadingOrIsCounted) {
    std::string const text = "A 10.0.0.0/8\nB 10.0.0.0/8\nW\nA 10.1.0.0/16 192.0.2\n"
                             "W 10.0.0.0/8 192.0.2.1\n10.0.0.0/8 192.0.2.1\nA 10.2.0.0/16 ::1 x\n"
                             "A 10.3.0.0/16\n";
    EXPECT_THAT(read(text), ElementsAre("A 10.0.0.0/8 added", HasSubstr(at(2))));
    table_ = PathTable(peers_);
    EXPECT_THAT(read(text, {.strict = false, .keepGoing = true}),
                ElementsAre("A 10.0.0.0/8 added", "A 10.3.0.0/16 added"));
    EXPECT_EQ(text_.badLines, 6U);
    EXPECT_THAT(text_.firstBadLine, HasSubstr(at(2)));
}

TEST_F(RouteUpdatesTest, nextHopWithoutAnAIsToldHowToWrite) {
    EXPECT_THAT(read("10.0.0.0/8 192.0.2.1\n"),
                ElementsAre(at(1) + "'192.0.2.1' is left over behind '10.0.0.0/8'; with a next "
                                    "hop, the line begins with A"));
    EXPECT_THAT(read("W 10.0.0.0/8 192.0.2.1\n"),
                ElementsAre(at(1) + "'192.0.2.1' is left over behind '10.0.0.0/8'"));
    EXPECT_THAT(read("B 10.0.0.0/8\n"),
                ElementsAre(at(1) + "'B' is neither a prefix nor A or W before one"));
}

TEST_F(RouteUpdatesTest, hostBitsAreClearedAndCountedOrRefused) {
    EXPECT_THAT(read("A 10.1.0.0/8\n"), ElementsAre("A 10.0.0.0/8 added"));
    EXPECT_EQ(text_.hostBitsCleared, 1U);
    TableOptions const strict{.strict = true, .keepGoing = false};
    EXPECT_THAT(read("A 10.1.0.0/8\n", strict), ElementsAre(HasSubstr(at(1))));
    EXPECT_THAT(read(updateRecord(u8(8) + "\x0a" + u8(7) + "\x0b", {}, {}), strict),
                ElementsAre(HasSubstr("host bits are set in 11.0.0.0/7")));
}

}  // namespace
}  // namespace LpmTools
