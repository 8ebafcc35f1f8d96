#include <tests/Support/LeakCheck.h>

#include <Torvel/Bitmap.h>
#include <Vexo/RangeException.h>

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <tuple>

/*
 * Random operations on a bitmap beside a set of the taken indexes. The seed is part of a case's
 * name.
 */

namespace {

using Torvel::Bitmap;
using Torvel::U32;

struct Model {
    U32 limit;
    std::set<U32> taken;

    std::optional<U32> nextFree(U32 from) const {
        for (U32 index = from; index < limit; ++index) {
            if (!taken.contains(index)) {
                return index;
            }
        }
        return std::nullopt;
    }
};

class BitmapModelTest
    : public TestSupport::LeakChecked<testing::TestWithParam<std::tuple<U32, U32>>> {
protected:
    void step(U32 span) {
        U32 const index = static_cast<U32>(random_() % span);
        switch (random_() % 8) {
        case 0:
        case 1:
            set(index);
            break;
        case 2:
        case 3:
        case 4:
            bitmap_->clearBit(index);
            model_.taken.erase(index);
            break;
        case 5:
            EXPECT_EQ(bitmap_->nextFree(index), model_.nextFree(index)) << index;
            break;
        default:
            take();
        }
        EXPECT_EQ(bitmap_->isSet(index), model_.taken.contains(index)) << index;
        EXPECT_EQ(bitmap_->count(), model_.taken.size());
    }

    void set(U32 index) {
        if (index < model_.limit) {
            bitmap_->setBit(index);
            model_.taken.insert(index);
        } else {
            EXPECT_THROW(bitmap_->setBit(index), Vexo::RangeException) << index;
        }
    }

    void take() {
        if (auto const free = model_.nextFree(0)) {
            EXPECT_EQ(bitmap_->takeNextFree(), *free);
            model_.taken.insert(*free);
        } else {
            EXPECT_THROW(bitmap_->takeNextFree(), Vexo::RangeException);
        }
    }

    void compareAll(U32 span) const {
        for (U32 index = 0; index < span; ++index) {
            EXPECT_EQ(bitmap_->isSet(index), model_.taken.contains(index)) << index;
            EXPECT_EQ(bitmap_->nextFree(index), model_.nextFree(index)) << index;
        }
    }

    std::mt19937_64 random_{std::get<0>(GetParam())};
    Model model_{std::get<1>(GetParam()), {}};
    Bitmap::Ptr bitmap_ = Bitmap::BitmapIs(model_.limit);
};

TEST_P(BitmapModelTest, answersAsASetOfNumbersDoes) {
    constexpr U32 span = 333;
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
        for (int i = 0; i < 100 && !HasFailure(); ++i) {
            step(span);
        }
        compareAll(span);
    }
    for (U32 const index : model_.taken) {
        bitmap_->clearBit(index);
    }
    EXPECT_EQ(bitmap_->count(), 0U);
    EXPECT_EQ(bitmap_->nextFree(), model_.limit > 0 ? std::optional(0U) : std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(SeedAndLimit, BitmapModelTest,
                         testing::Combine(testing::Range(1U, 6U),
                                          testing::Values(1U, 64U, 200U, Bitmap::noLimit_)),
                         [](auto const& test) {
                             return Vexo::formatString("%u_%u", std::get<0>(test.param),
                                                       std::get<1>(test.param));
                         });

}  // namespace
