#pragma once

#include <tests/Support/LeakCheck.h>
#include <tests/client/Cases.h>
#include <tests/client/ClientWorld.h>

namespace ClientTest {

/** What a run that nothing disturbs does at an update. */
struct Step {
    Update update;
    U64 writes;
    std::string state;  // of the chip, afterwards
    bool sameCut;       // no partition was cut anew, and none came or went
};

/** Tests that disturb a run and compare it with one that nothing disturbs, for every policy. */
class UndisturbedRun : public TestSupport::LeakChecked<testing::TestWithParam<Case>> {
protected:
    /** The history of so many routes. */
    explicit UndisturbedRun(U32 routes);

    /** The most writes of an update. */
    U64 mostWrites() const;

    std::string const policy_ = std::get<0>(GetParam());
    Space const space_{std::get<1>(GetParam()), 5};
    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    ChipSize const size_{40, 3, 40};
    std::vector<Step> steps_;
};

}  // namespace ClientTest
