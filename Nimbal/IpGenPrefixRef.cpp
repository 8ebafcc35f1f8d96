#include <Nimbal/IpGenPrefixRef.h>

#include <Vexo/Attribute.h>
#include <Vexo/Registry.h>

#include <ostream>

namespace Nimbal {

namespace {

using namespace Vexo;

constexpr std::array attributes{valueAttribute<&IpGenPrefixRef::prefix>("prefix")};
constexpr Attribute constructor =
    functionAttribute<&IpGenPrefixRef::IpGenPrefixRefIs>("IpGenPrefixRef", "prefix");
constinit TypeDescription const description{
    .base = &PtrInterface::fwkType_, .attributes = attributes, .constructor = &constructor};
ModuleRegistration const registration(nimbalModule,
                                      {&IpGenPrefix::fwkType_, &IpGenPrefixRef::fwkType_});

}  // namespace

constinit Vexo::FwkType const IpGenPrefixRef::fwkType_("Nimbal::IpGenPrefixRef", nimbalModule, 2,
                                                       description);

Vexo::FwkType const* IpGenPrefixRef::fwkType() const {
    return &fwkType_;
}

std::ostream& operator<<(std::ostream& out, IpGenPrefixRef const* holder) {
    return holder != nullptr ? out << holder->prefix() : out << "prefixRef null";
}

String valueToStrep(Vexo::Ptr<IpGenPrefixRef const> const& holder) {
    return holder ? valueToStrep(holder->prefix()) : String("None");
}

String valueToStrep(Vexo::Ptr<IpGenPrefixRef> const& holder) {
    return holder ? valueToStrep(holder->prefix()) : String("None");
}

}  // namespace Nimbal

namespace Vexo {

template <>
Ptr<Nimbal::IpGenPrefixRef> deserializeAttr<Ptr<Nimbal::IpGenPrefixRef>>(CharRange& range,
                                                                         char const* fieldName) {
    try {
        if (range.consume("None")) {
            return nullptr;
        }
        return Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(Nimbal::IpGenPrefix(range));
    } catch (RangeException const& error) {
        rethrowFromDeserializeAttr(error, fieldName);
    }
}

template <>
Ptr<Nimbal::IpGenPrefixRef const> deserializeAttr<Ptr<Nimbal::IpGenPrefixRef const>>(
    CharRange& range, char const* fieldName) {
    return deserializeAttr<Ptr<Nimbal::IpGenPrefixRef>>(range, fieldName);
}

}  // namespace Vexo
