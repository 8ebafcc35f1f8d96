#pragma once

#include <tests/tools/MrtReading.h>

#include <string>
#include <string_view>
#include <vector>

namespace ToolsTest {

/**
 * Damages a good stream and checks what a reader makes of it: it may only read the records before
 * the damaged one, all of them and to the letter, and then go on with what still makes sense or end
 * with an error that tells where. Where records begin is found by hopping over the headers.
 */
class MrtDamage {
public:
    explicit MrtDamage(std::string stream);

    std::size_t size() const noexcept { return stream_.size(); }
    /** Ends the stream behind `length` bytes. */
    void checkCut(std::size_t length) const;
    /** Inverts the bits of a mask in one byte. */
    void checkFlip(std::size_t at, char mask);
    /** A cut and both flips, with all bits and with the lowest. */
    void check(std::size_t at) {
        checkCut(at);
        checkFlip(at, '\xff');
        checkFlip(at, '\x01');
    }
    /** At every byte, or at every so many. */
    void checkEverywhere(std::size_t step = 1);

private:
    struct Record {
        std::size_t offset;
        std::size_t events;  // before it
    };

    Record const& recordAt(std::size_t at) const;
    bool beginsLike(Reading const& reading, std::size_t events) const;

    std::string stream_;
    Reading whole_;
    std::vector<Record> records_;  // one more than there are, at the end
};

/** Where records begin, and the end. */
std::vector<std::size_t> recordOffsets(std::string_view stream);

}  // namespace ToolsTest
