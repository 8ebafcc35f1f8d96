#include <Vexo/Sassert.h>

#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <csignal>
#include <cstdio>
#include <ostream>
#include <stdexcept>

namespace {

using testing::ExitedWithCode;
using testing::KilledBySignal;
using TestSupport::assertionText;

// The pieces below fail on purpose while they are printed.
struct EndsTheProcess {};
std::ostream& operator<<(std::ostream&, EndsTheProcess) {
    ::_exit(3);
}

struct Throws {};
std::ostream& operator<<(std::ostream& stream, Throws) {
    stream << "half of it";
    throw std::runtime_error("no text");
}

struct ThrowsNoException {};
std::ostream& operator<<(std::ostream&, ThrowsNoException) {
    throw 7;
}

struct FailsAnAssertion {};
std::ostream& operator<<(std::ostream& stream, FailsAnAssertion) {
    int const inner = 1;
    VEXO_SASSERT("tests/Inner", "void inner()", inner == 2, "inner:", inner);
    return stream;
}

int endTheProcess() {
    ::_exit(4);
}

TEST(SassertDeathTest, theConditionIsTheWholeHeadWhenThereAreNoPieces) {
    int const count = 1;
    EXPECT_EXIT(
        VEXO_SASSERT("tests/Vexo", "void Some::function()", count == 2), KilledBySignal(SIGABRT),
                     assertionText("count == 2", "", "tests/Vexo", "void Some::function()"));
}

TEST(SassertDeathTest, thePiecesFollowTheConditionInOrder) {
    int const count = 1;
    EXPECT_EXIT(VEXO_SASSERT("tests/Vexo", "void Some::function()", count == 2, "count:", count,
                             " flag:", true, " of ", std::string("them")), KilledBySignal(SIGABRT),
                             assertionText("count == 2", "count:1 flag:1 of them", "tests/Vexo",
                                           "void Some::function()"));
}

TEST(SassertDeathTest, theConditionIsPrintedAsItIsSpelled) {
    auto const isEven = [](int number) { return number % 2 == 0; };
    // clang-format off
    EXPECT_EXIT(VEXO_SASSERT("s", "f", isEven( 1 )&&isEven  (3), "%s%d"), KilledBySignal(SIGABRT),
                                     // clang-format on
                                     assertionText("isEven( 1 )&&isEven (3)", "%s%d", "s", "f"));
}

TEST(SassertDeathTest, theTextIsTheSameToTheLetterAtAnyOtherPlace) {
    std::string const program = program_invocation_short_name;
    EXPECT_EXIT(Vexo::SassertHelper("a < b", "Some/Module", 42, "int f(int)").fail("a:", 3),
                KilledBySignal(SIGABRT),
                testing::Eq("a < b: a:3\n" + program +
                            ": Some/Module:42: int f(int): Assertion `a < b' failed.\n"));
}

TEST(SassertDeathTest, theLineIsThatOfTheAssertion) {
    std::string const line = std::to_string(__LINE__ + 1);
    EXPECT_EXIT(VEXO_SASSERT("s", "f", false), KilledBySignal(SIGABRT),
                             testing::EndsWith(": s:" + line + ": f: Assertion `false' failed.\n"));
}

TEST(SassertDeathTest, theConditionIsOutBeforeAPieceIsPrinted) {
    bool const good = false;
    EXPECT_EXIT(VEXO_SASSERT("s", "f", good, EndsTheProcess{}), ExitedWithCode(3),
                             testing::Eq("good"));
}

TEST(SassertDeathTest, theConditionIsOutEvenWhereStandardErrorIsBuffered) {
    bool const good = false;
    auto const failBuffered = [&] {
        static char buffer[4096];
        std::setvbuf(stderr, buffer, _IOFBF, sizeof(buffer));
        VEXO_SASSERT("s", "f", good, "first ", EndsTheProcess{});
    };
    EXPECT_EXIT(failBuffered(), ExitedWithCode(3), testing::Eq("good: first "));
}

TEST(SassertDeathTest, theConditionIsOutBeforeAPieceIsEvaluated) {
    bool const good = false;
    EXPECT_EXIT(VEXO_SASSERT("s", "f", good, endTheProcess()), ExitedWithCode(4),
                             testing::Eq("good"));
}

TEST(SassertDeathTest, aPieceIsOutBeforeTheNextOneIsPrinted) {
    bool const good = false;
    EXPECT_EXIT(VEXO_SASSERT("s", "f", good, "first ", EndsTheProcess{}), ExitedWithCode(3),
                             testing::Eq("good: first "));
}

TEST(SassertDeathTest, aPieceThatThrowsIsMarkedAndTheOthersFollow) {
    bool const good = false;
    EXPECT_EXIT(
        VEXO_SASSERT("s", "f", good, "before ", Throws{}, " between ", ThrowsNoException{},
                             " after"), KilledBySignal(SIGABRT),
                            assertionText("good", "before (?) between (?) after", "s", "f"));
}

TEST(SassertDeathTest, aPieceThatFailsAnAssertionLeavesTheFirstConditionInFront) {
    bool const good = false;
    EXPECT_EXIT(VEXO_SASSERT("s", "f", good, FailsAnAssertion{}), KilledBySignal(SIGABRT),
        testing::AllOf(testing::StartsWith("goodinner == 2: inner:1\n"),
                       testing::EndsWith(": void inner(): Assertion `inner == 2' failed.\n")));
}

TEST(SassertTest, aConditionThatHoldsEvaluatesNoPiece) {
    int evaluated = 0;
    auto const piece = [&] { return ++evaluated; };
    VEXO_SASSERT("s", "f", evaluated == 0, piece());
    EXPECT_EQ(evaluated, 0);
}

TEST(SassertTest, theConditionIsEvaluatedOnce) {
    int evaluated = 0;
    VEXO_SASSERT("s", "f", ++evaluated > 0);
    EXPECT_EQ(evaluated, 1);
}

TEST(SassertTest, isOneStatement) {
    int branch = 0;
    if (branch == 1)
        VEXO_SASSERT("s", "f", branch == 1);
    else
        branch = 2;
    EXPECT_EQ(branch, 2);
}

}  // namespace
