#pragma once

#include <client/Hardware.h>

namespace LpmBenchmarks {

/** A chip without bounds that does nothing, so that only the client's own time is measured. */
class NoChip : public LpmClient::Hardware {
public:
    explicit NoChip(Vexo::U32 bucketRoutes) : bucketRoutes_(bucketRoutes) {}
    Vexo::U32 bucketRoutes() const noexcept override { return bucketRoutes_; }
    Vexo::U32 bucketLimit() const noexcept override { return mostBuckets; }

    static constexpr Vexo::U32 mostBuckets = 1U << 30;

protected:
    LpmClient::WriteStatus apply(LpmClient::Write const& /*write*/) override {
        return LpmClient::WriteStatus::done;
    }
    std::vector<LpmClient::Binding> readBindings(Vexo::U32, Nimbal::AddressFamily) const override {
        return {};
    }
    std::vector<LpmClient::Bucket> readBuckets(Vexo::U32, Nimbal::AddressFamily) const override {
        return {};
    }
    std::optional<LpmClient::BucketContents> readContents(LpmClient::Bucket) const override {
        return std::nullopt;
    }

private:
    Vexo::U32 const bucketRoutes_;
};

}  // namespace LpmBenchmarks
