#include <Vexo/Attribute.h>
#include <Vexo/Registry.h>
#include <tests/Vexo/Orchard.h>

#include <stdexcept>

namespace Orchard {

constinit Vexo::FwkModule const orchardModule("Orchard", "tests/Orchard");

Tree::Ptr Tree::TreeIs(U32 height, String const& name) {
    Ptr tree(new Tree(height));
    tree->nameIs(name);
    return tree;
}

Vexo::Ptr<PearTree> PearTree::PearTreeIs() {
    return new PearTree(5);
}

void Tree::fell(U32 how) {
    switch (how) {
    case 0:
        throw std::runtime_error("frost");
    case 1:
        throw 42;
    case 2:
        throw std::bad_alloc();
    case 3:
        throw Vexo::RangeException("past the fence");
    case 4:
        throw Vexo::UnhashableException("a stump has no hash");
    case 5:
        throw Vexo::ConversionException("an axe is no saw");
    default:
        break;
    }
}

namespace {

using namespace Vexo;

/** What the trees' collection is reached by. */
struct AppleCollection {
    using Object = Tree;
    using Key = Apple;
    using Mapped = U32;
    static Tree::Baskets& map(Tree& tree) { return tree.baskets(); }
    static U32 lookUp(Tree& tree, Apple const& key) {
        auto const* const basket = tree.baskets().find(key);
        return basket != nullptr ? basket->number() : 0;
    }
    static void put(Tree& tree, Apple const& key, U32 number) {
        if (auto* const basket = tree.baskets().find(key)) {
            basket->numberIs(number);
        } else {
            tree.baskets().insert(key, Tree::Basket(key, number));
        }
    }
    static bool erase(Tree& tree, Apple const& key) { return tree.baskets().erase(key); }
};

U32 squareOf(U32 number) {
    return number * number;
}
U64 sumOf(U64 a, U64 b) noexcept {
    return a + b;
}
void frost() {
    throw std::runtime_error("frost");
}
Tree::Ptr tallerOf(Tree::Ptr const& a, Tree::Ptr const& b) {
    return !a || (b && b->height() > a->height()) ? b : a;
}

constexpr std::array functions{
    functionAttribute<&squareOf>("square", "number"),
    functionAttribute<&sumOf>("sum", "a", "b"),
    functionAttribute<&frost>("frost"),
    functionAttribute<&tallerOf>("taller", "a", "b"),
    unservedAttribute("closed"),
};

constexpr auto appleAttributes =
    joinRows(recordAttributes<Apple>(), std::array{functionAttribute<&Apple::hash>("hash")});
constexpr ValueOps appleOps = valueOps<Apple>();
constexpr Attribute appleConstructor =
    functionAttribute<&construct<Apple, U32, bool>>("Apple", "weight", "ripe");
constinit TypeDescription const appleDescription{.base = nullptr,
                                                 .attributes = appleAttributes,
                                                 .value = &appleOps,
                                                 .constructor = &appleConstructor};

constexpr auto leafAttributes = recordAttributes<Leaf>();
constexpr ValueOps leafOps = valueOps<Leaf>();
constinit TypeDescription const leafDescription{
    .base = nullptr, .attributes = leafAttributes, .value = &leafOps, .constructor = nullptr};

constexpr ValueOps seedOps{
    .copy = [](void const* data) -> void* { return new Seed(*static_cast<Seed const*>(data)); },
    .destroy = [](void* data) noexcept { delete static_cast<Seed*>(data); }};
constexpr Attribute seedConstructor = functionAttribute<&construct<Seed>>("Seed");
constinit TypeDescription const seedDescription{
    .base = nullptr, .attributes = {}, .value = &seedOps, .constructor = &seedConstructor};

constexpr std::array treeAttributes{
    valueAttribute<&Tree::height, &Tree::heightIs>("height"),
    valueAttribute<&Tree::age, &Tree::ageIs>("age"),
    valueAttribute<&Tree::ground, &Tree::groundIs>("ground"),
    unservedAttribute("roots"),
    valueAttribute<&Tree::name, &Tree::nameIs>("name"),
    valueAttribute<&Tree::neighbour, &Tree::neighbourIs>("neighbour"),
    valueAttribute<&Tree::apple, &Tree::appleIs>("apple"),
    functionAttribute<&Tree::grow>("grow", "by"),
    functionAttribute<&Tree::fruit>("fruit"),
    functionAttribute<&Tree::weigh>("weigh", "apple", "times"),
    functionAttribute<&Tree::fell>("fell", "how"),
    collectionAttribute<AppleCollection>("apples"),
};
constexpr Attribute treeConstructor = functionAttribute<&Tree::TreeIs>("Tree", "height", "name");
constinit TypeDescription const treeDescription{.base = &PtrInterface::fwkType_,
                                                .attributes = treeAttributes,
                                                .value = nullptr,
                                                .constructor = &treeConstructor};

constexpr std::array pearTreeAttributes{
    valueAttribute<&PearTree::doubleHeight>("height"),
    unservedAttribute("ground"),
    valueAttribute<&PearTree::pears>("pears"),
};
constexpr Attribute pearTreeConstructor = functionAttribute<&PearTree::PearTreeIs>("PearTree");
constinit TypeDescription const pearTreeDescription{.base = &Tree::fwkType_,
                                                    .attributes = pearTreeAttributes,
                                                    .value = nullptr,
                                                    .constructor = &pearTreeConstructor};

ModuleRegistration const registration(orchardModule,
                                      {&PearTree::fwkType_, &Apple::fwkType_, &Tree::fwkType_,
                                       &Leaf::fwkType_, &Seed::fwkType_},
                                      functions);

}  // namespace

constinit FwkType const Tree::fwkType_("Orchard::Tree", orchardModule, 1, treeDescription);
constinit FwkType const PearTree::fwkType_("Orchard::PearTree", orchardModule, 2,
                                           pearTreeDescription);
constinit FwkType const Apple::fwkType_("Orchard::Apple", orchardModule, 3, appleDescription);
constinit FwkType const Leaf::fwkType_("Orchard::Leaf", orchardModule, 4, leafDescription);
constinit FwkType const Seed::fwkType_("Orchard::Seed", orchardModule, 5, seedDescription);

}  // namespace Orchard
