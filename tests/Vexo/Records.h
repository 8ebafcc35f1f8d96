#pragma once

#include <Vexo/Record.h>

#include <tests/Vexo/CountedTypes.h>

#include <cstdint>
#include <tuple>

namespace VexoTest {

/** What pointer fields refer to; never looked at. */
class Thing;

inline Thing* thingAt(std::uintptr_t address) {
    return reinterpret_cast<Thing*>(address);
}

}  // namespace VexoTest

namespace Vexo {

template <>
inline VexoTest::Thing* deserializeAttr<VexoTest::Thing*>(CharRange& range, char const* fieldName) {
    return static_cast<VexoTest::Thing*>(deserializeAttr<void*>(range, fieldName));
}

template <>
inline Ptr<VexoTest::Body> deserializeAttr<Ptr<VexoTest::Body>>(CharRange& range,
                                                                char const* fieldName) {
    try {
        Ptr<PtrInterface> const object = sequenceToValueOfPtr(range);
        Ptr<VexoTest::Body> const body = dynamicPtrCast<VexoTest::Body>(object);
        if (object && !body) {
            CharRange::cannotConvert(range, VexoTest::Body::fwkType_);
        }
        return body;
    } catch (RangeException const& error) {
        rethrowFromDeserializeAttr(error, fieldName);
    }
}

}  // namespace Vexo

namespace VexoTest {

/** Several printed fields and a pointer. */
struct Step {
    static constexpr Vexo::FwkType fwkType_{"VexoTest::Step", testModule, 30};
    static constexpr auto fields() {
        return std::tuple{Vexo::field("thing", &Step::thing_, Vexo::Served::no),
                          Vexo::field("bit", &Step::bit_, Vexo::Served::readOnly),
                          Vexo::field("level", &Step::level_, Vexo::Served::readWrite)};
    }
    Step() = default;
    explicit Step(Vexo::CharRange& range) { Vexo::readRecord(range, *this); }
    bool operator==(Step const& other) const noexcept { return Vexo::recordsEqual(*this, other); }

    Thing* thing_ = nullptr;
    Vexo::U32 bit_ = 0;
    Vexo::U32 level_ = 0;
};

/** One printed field beside pointers. */
struct Verdict {
    static constexpr Vexo::FwkType fwkType_{"VexoTest::Verdict", testModule, 31};
    static constexpr auto fields() {
        return std::tuple{Vexo::field("from", &Verdict::from_, Vexo::Served::no),
                          Vexo::field("to", &Verdict::to_, Vexo::Served::no),
                          Vexo::field("dirty", &Verdict::dirty_, Vexo::Served::readWrite)};
    }
    Verdict() = default;
    explicit Verdict(Vexo::CharRange& range) { Vexo::readRecord(range, *this); }

    Thing* from_ = nullptr;
    Thing* to_ = nullptr;
    bool dirty_ = false;
};

/** A single field. */
struct Count {
    static constexpr Vexo::FwkType fwkType_{"VexoTest::Count", testModule, 32};
    static constexpr auto fields() {
        return std::tuple{Vexo::field("value", &Count::value_, Vexo::Served::readWrite)};
    }
    Count() = default;
    explicit Count(Vexo::CharRange& range) { Vexo::readRecord(range, *this); }
    bool operator==(Count const& other) const noexcept { return Vexo::recordsEqual(*this, other); }

    Vexo::U32 value_ = 0;
};

/** Pointers alone. */
struct Links {
    static constexpr Vexo::FwkType fwkType_{"VexoTest::Links", testModule, 33};
    static constexpr auto fields() {
        return std::tuple{Vexo::field("first", &Links::first_, Vexo::Served::no),
                          Vexo::field("second", &Links::second_, Vexo::Served::no)};
    }
    Thing* first_ = nullptr;
    Thing* second_ = nullptr;
};

/** Fields that are records, objects and texts. */
struct Journey {
    static constexpr Vexo::FwkType fwkType_{"VexoTest::Journey", testModule, 34};
    static constexpr auto fields() {
        return std::tuple{Vexo::field("name", &Journey::name_, Vexo::Served::readWrite),
                          Vexo::field("step", &Journey::step_, Vexo::Served::readWrite),
                          Vexo::field("count", &Journey::count_, Vexo::Served::readWrite),
                          Vexo::field("body", &Journey::body_, Vexo::Served::readWrite)};
    }
    Journey() = default;
    explicit Journey(Vexo::CharRange& range) { Vexo::readRecord(range, *this); }
    bool operator==(Journey const& other) const noexcept {
        return Vexo::recordsEqual(*this, other);
    }

    Vexo::String name_;
    Step step_;
    Count count_;
    Vexo::Ptr<Body> body_;
};

}  // namespace VexoTest
