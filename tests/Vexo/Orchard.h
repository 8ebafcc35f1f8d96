#pragma once

#include <Vexo/HashMap.h>
#include <Vexo/Ptr.h>
#include <Vexo/Record.h>
#include <Vexo/TrackedAllocation.h>

#include <compare>

/* A small registered module for the tests of the reflection: values, objects of which one is
 * derived from the other, a collection, and functions that fail in every way. */

namespace Orchard {

using Vexo::String;
using Vexo::U32;
using Vexo::U64;
using Vexo::U8;

enum class Ground : U32 { none, clay, sand };

/** A value with all operations. Its worm is hidden, its weight only read. */
class Apple {
public:
    static constexpr auto fields() {
        using Vexo::Served;
        return std::tuple{Vexo::field("worm", &Apple::worm_, Served::no),
                          Vexo::field("weight", &Apple::weight_, Served::readOnly),
                          Vexo::field("ripe", &Apple::ripe_, Served::readWrite)};
    }
    static Vexo::FwkType const fwkType_;

    Apple() = default;
    explicit Apple(U32 weight, bool ripe = false) : weight_(weight), ripe_(ripe) {}
    explicit Apple(Vexo::CharRange& range) { Vexo::readRecord(range, *this); }

    U32 weight() const { return weight_; }
    bool ripe() const { return ripe_; }
    U32 hash() const { return weight_ * 2 + (ripe_ ? 1 : 0); }
    explicit operator bool() const { return Vexo::recordIsSet(*this); }
    bool operator==(Apple const& other) const { return Vexo::recordsEqual(*this, other); }
    bool operator<(Apple const& other) const { return weight_ < other.weight_; }

private:
    void* worm_ = nullptr;
    U32 weight_ = 0;
    bool ripe_ = false;
};

/** A value that is neither true nor false, has no hash and no order. */
class Leaf {
public:
    static constexpr auto fields() {
        return std::tuple{Vexo::field("length", &Leaf::length_, Vexo::Served::readWrite)};
    }
    static Vexo::FwkType const fwkType_;

    Leaf() = default;
    explicit Leaf(Vexo::CharRange& range) { Vexo::readRecord(range, *this); }
    bool operator==(Leaf const& other) const { return Vexo::recordsEqual(*this, other); }

private:
    U32 length_ = 0;
};

/** A value that can be copied, and offers nothing else. */
class Seed {
public:
    static Vexo::FwkType const fwkType_;
};

class Tree : public Vexo::PtrInterface, public Vexo::TrackedAllocation<Tree> {
public:
    using Ptr = Vexo::Ptr<Tree>;

    explicit Tree(U32 height) : height_(height) {}
    static Ptr TreeIs(U32 height, String const& name);
    Vexo::FwkType const* fwkType() const override { return &fwkType_; }

    U32 height() const noexcept { return height_; }
    void heightIs(U32 height) noexcept { height_ = height; }
    U8 age() const { return age_; }
    void ageIs(U8 age) { age_ = age; }
    Ground ground() const { return ground_; }
    void groundIs(Ground ground) { ground_ = ground; }
    String const& name() const { return name_; }
    void nameIs(String const& name) { name_ = name; }
    Ptr neighbour() const { return neighbour_; }
    void neighbourIs(Ptr const& neighbour) { neighbour_ = neighbour; }
    Apple apple() const { return apple_; }
    void appleIs(Apple apple) { apple_ = apple; }

    void grow(U32 by) { height_ += by; }
    virtual String fruit() const { return "apple"; }
    U64 weigh(Apple const& apple, U32 times) const { return U64{apple.weight()} * times; }
    /** Throws: what, is told by the number. */
    void fell(U32 how);

    class Basket {
    public:
        Basket(Apple const& apple, U32 number) : apple_(apple), number_(number) {}
        Apple const& key() const { return apple_; }
        U32 number() const { return number_; }
        void numberIs(U32 number) { number_ = number; }

    private:
        Apple apple_;
        U32 number_;
    };
    struct BasketKeys {
        using Key = Apple;
        static U32 hash(Apple const& apple) { return apple.hash(); }
        static Apple const& key(Basket const& basket) { return basket.key(); }
        static bool matches(Basket const& basket, Apple const& apple) {
            return basket.key() == apple;
        }
    };
    using Baskets = Vexo::HashMap<Basket, BasketKeys>;
    Baskets& baskets() { return baskets_; }

    static Vexo::FwkType const fwkType_;

private:
    U32 height_;
    U8 age_ = 0;
    Ground ground_ = Ground::none;
    String name_;
    Ptr neighbour_;
    Apple apple_;
    Baskets baskets_;
};

/** Declares "height" anew, only to be read, hides "ground", and has pears. */
class PearTree : public Tree {
public:
    using Tree::Tree;
    static Vexo::Ptr<PearTree> PearTreeIs();
    Vexo::FwkType const* fwkType() const override { return &fwkType_; }
    String fruit() const override { return "pear"; }
    U32 doubleHeight() const { return 2 * height(); }
    U32 pears() const { return 3; }

    static Vexo::FwkType const fwkType_;
};

extern Vexo::FwkModule const orchardModule;

}  // namespace Orchard
