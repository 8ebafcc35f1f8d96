# What Doxygen reads instead of a header: comments behind a member become its explanation, and members that
# mean the same in every class are explained here, once. A member with a comment of its own keeps that.

function explain(text) {
    if (previous !~ /\*\/ *$/ && $0 !~ /\/\/\/</) {
        $0 = "/** " text " */ " $0
    }
}

# The essay at a file's head belongs to the file. Every file is one that is explained, so that what stands
# outside of classes is looked at as well.
/^#pragma once$/ { $0 = "/** @file */ " $0 }
/^\/\*$/ && !headed { $0 = "/** @file"; headed = 1 }

/[;,{}] +\/\/ / && !/^ *\/\// { sub(/\/\/ /, "///< ") }
# The last enumerator has no comma.
/^ +[A-Za-z]+ +\/\/ [^ ]/ { sub(/\/\/ /, "///< ") }

/^    .*operator(==|<=>)\([^)]*\).*( = default;| \{)$/ { explain("Compares all members.") }
/operator<<\(std::ostream& / && /;$/ { explain("Writes the text form. Throws what the stream throws.") }
/^(LPMTRIE_API )?String valueToStrep\(/ { explain("The text form. Throws std::bad_alloc.") }
/^ *using Ptr = Vexo::Ptr</ { explain("A counted reference.") }
/^ *static (Vexo::)?FwkType const fwkType_;$/ { explain("The type as the registry knows it.") }
/FwkType const\* fwkType\(\) const override;$/ { explain("The object's registered type.") }
/^ *explicit [A-Za-z0-9]+\((Vexo::)?CharRange& range\);$/ {
    explain("Reads the text form and leaves what follows it. Throws RangeException.")
}
/^ *(constexpr )?explicit operator bool\(\) const/ { explain("Whether any member is not at its default.") }
/^ *static constexpr auto fields\(\)/ { explain("The fields of the text form, in order.") }

{ previous = $0; print }
