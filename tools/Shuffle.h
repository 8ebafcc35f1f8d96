#pragma once

#include <tools/Xoshiro.h>

#include <utility>
#include <vector>

namespace LpmTools {

/** Puts items in random order: the same order for the same state of `random` everywhere. */
template <typename T>
void shuffle(std::vector<T>& items, Xoshiro& random) {
    for (std::size_t i = items.size(); i > 1; --i) {
        std::swap(items[i - 1], items[random.below(i)]);
    }
}

}  // namespace LpmTools
