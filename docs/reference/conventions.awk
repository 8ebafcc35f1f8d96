# What Doxygen reads instead of a header: comments behind a member become its explanation, and members that
# mean the same in every class are explained here, once. A member with a comment of its own keeps that.

function explain(text) {
    if (previous !~ /\*\/ *$/ && $0 !~ /\/\/\/</) {
        $0 = "/** " text " */ " $0
    }
}

/[;,{}] +\/\/ / && !/^ *\/\// { sub(/\/\/ /, "///< ") }
# The last enumerator has no comma.
/^ +[A-Za-z]+ +\/\/ [^ ]/ { sub(/\/\/ /, "///< ") }

/^    .*operator(==|<=>)\([^)]*\).*( = default;| \{)$/ { explain("Compares all members.") }
/operator<<\(std::ostream& / && /;$/ { explain("Writes the text form. Throws what the stream throws.") }
/^ *using Ptr = Vexo::Ptr</ { explain("A counted reference.") }
/^ *static (Vexo::)?FwkType const fwkType_;$/ { explain("The type as the registry knows it.") }
/FwkType const\* fwkType\(\) const override;$/ { explain("The object's registered type.") }
/^ *explicit [A-Za-z0-9]+\((Vexo::)?CharRange& range\);$/ {
    explain("Reads the text form and leaves what follows it. Throws RangeException.")
}
/^ *(constexpr )?explicit operator bool\(\) const/ { explain("Whether any member is not at its default.") }
/^ *static constexpr auto fields\(\)/ { explain("The fields of the text form, in order.") }

{ previous = $0; print }
