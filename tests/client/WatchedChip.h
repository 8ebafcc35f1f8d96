#pragma once

#include <client/SimulatedChip.h>

#include <functional>

namespace ClientTest {

/**
 * Stands in front of a chip: may refuse a write, and is told before each question and after each
 * write that was let through.
 */
class WatchedChip : public LpmClient::Hardware {
public:
    using Write = LpmClient::Write;
    using WriteStatus = LpmClient::WriteStatus;

    explicit WatchedChip(Hardware& chip) : chip_(chip) {}

    /** Gets the number of the write, from 0, and the write. A status refuses it. */
    std::function<std::optional<WriteStatus>(Vexo::U64, Write const&)> refuse;
    std::function<void(Write const&)> written;
    std::function<void()> asked;

    Vexo::U64 writes() const noexcept { return writes_; }
    /** The next write has the number 0. */
    void countAnew() noexcept { writes_ = 0; }

    Vexo::U32 bucketRoutes() const noexcept override { return chip_.bucketRoutes(); }
    Vexo::U32 bucketLimit() const noexcept override { return chip_.bucketLimit(); }

protected:
    WriteStatus apply(Write const& write) override {
        Vexo::U64 const number = writes_++;
        if (refuse) {
            if (auto const status = refuse(number, write)) {
                return *status;
            }
        }
        WriteStatus const status = chip_.write(write);
        if (written) {
            written(write);
        }
        return status;
    }
    std::vector<LpmClient::Binding> readBindings(Vexo::U32 vrfId,
                                                 Nimbal::AddressFamily af) const override {
        tellAsked();
        return chip_.bindings(vrfId, af);
    }
    std::vector<LpmClient::Bucket> readBuckets(Vexo::U32 vrfId,
                                               Nimbal::AddressFamily af) const override {
        tellAsked();
        return chip_.buckets(vrfId, af);
    }
    std::optional<LpmClient::BucketContents> readContents(LpmClient::Bucket bucket) const override {
        tellAsked();
        return chip_.contents(bucket);
    }

private:
    void tellAsked() const {
        if (asked) {
            asked();
        }
    }

    Hardware& chip_;
    Vexo::U64 writes_ = 0;
};

/** What a chip throws that cannot be read. */
struct Unreadable {};

/** For `asked`: from now on the question of that number, from 0, is not answered. */
inline auto unreadableAt(Vexo::U64 number) {
    return [number, n = Vexo::U64{0}]() mutable {
        if (n++ == number) {
            throw Unreadable();
        }
    };
}

/** For `refuse`: all writes from that number on. */
inline auto refusalFrom(Vexo::U64 number) {
    return [number](Vexo::U64 n, WatchedChip::Write const&) {
        return n >= number ? std::optional(WatchedChip::WriteStatus::transientError) : std::nullopt;
    };
}

}  // namespace ClientTest
