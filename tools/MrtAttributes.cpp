#include <tools/MrtAttributes.h>

namespace LpmTools {

namespace {

constexpr U8 extendedLength = 0x10;  // a flag: the length has two bytes

void keep(std::optional<MrtCursor>& kept, MrtCursor const& value, char const* name) {
    if (kept) {
        throw MrtFault(std::string("the attribute ") + name + " comes twice");
    }
    kept = value;
}

}  // namespace

MrtAttributes readMrtAttributes(MrtCursor from) {
    MrtAttributes attributes;
    while (!from.atEnd()) {
        U8 const flags = from.u8("head of an attribute");
        U8 const type = from.u8("head of an attribute");
        std::size_t const length = (flags & extendedLength) != 0 ? from.u16("attribute's length")
                                                                 : from.u8("attribute's length");
        switch (type) {
        case 3:
            keep(attributes.nextHop, from.part(length, "attribute NEXT_HOP"), "NEXT_HOP");
            break;
        case 14:
            keep(attributes.reach, from.part(length, "attribute MP_REACH_NLRI"), "MP_REACH_NLRI");
            break;
        case 15:
            keep(attributes.unreach, from.part(length, "attribute MP_UNREACH_NLRI"),
                 "MP_UNREACH_NLRI");
            break;
        default:
            from.bytes(length, "value of an attribute");
        }
    }
    return attributes;
}

NextHop readMrtNextHop(MrtAttributes const& attributes) {
    if (!attributes.nextHop) {
        return {};
    }
    MrtCursor value = *attributes.nextHop;
    if (value.left() != 4) {
        throw MrtFault("the attribute NEXT_HOP has " + std::to_string(value.left()) +
                       " bytes instead of 4");
    }
    return NextHop(value.bytes(4, "next hop"));
}

NextHop readMrtLongNextHop(MrtCursor& from) {
    std::size_t const length = from.u8("next hop's length");
    if (length == 0 || length > NextHop::longest) {
        throw MrtFault("a next hop of " + std::to_string(length) + " bytes");
    }
    return NextHop(from.bytes(length, "next hop"));
}

}  // namespace LpmTools
