# `cpack -G DEB`: a Debian package of each component that LpmTrieInstall.cmake lays down. The paths
# inside are those of a build tree that was configured with the prefix /usr; `scripts/packages` does
# that, and tries the packages.

set(LPMTRIE_PACKAGE_CONTACT "LpmTrie maintainers <maintainers@lpmtrie.invalid>" CACHE STRING
    "Who answers for the packages: name and address")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lpmtrie)
set(CPACK_PACKAGE_CONTACT "${LPMTRIE_PACKAGE_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL library development)
if(TARGET lpmtrie)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
list(APPEND CPACK_COMPONENTS_ALL python)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)

# What Debian asks of every package: written into each before it is closed.
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/debian/prepare.cmake")
set(CPACK_LPMTRIE_PACKAGING_DIR "${PROJECT_SOURCE_DIR}/packaging/debian")
set(CPACK_LPMTRIE_PYTHON_LINK "${LPMTRIE_PYTHON_DIR}/lpmtrie/${lpmtrie_soname}")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(lpmtrie_same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# lpmtrie_package(<component> NAME <package> SECTION <section> [DEPENDS <package>...] DESCRIPTION <text>)
function(lpmtrie_package component)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME;SECTION;DESCRIPTION" "DEPENDS")
    string(TOUPPER "CPACK_DEBIAN_${component}" prefix)
    list(JOIN arg_DEPENDS ", " depends)
    set(${prefix}_PACKAGE_NAME "${arg_NAME}" PARENT_SCOPE)
    set(${prefix}_PACKAGE_SECTION "${arg_SECTION}" PARENT_SCOPE)
    set(${prefix}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    set(${prefix}_DESCRIPTION "${arg_DESCRIPTION}" PARENT_SCOPE)
endfunction()

set(lpmtrie_about "\
LpmTrie keeps the IP routes of one routing instance in a binary
longest-prefix-match trie and divides it into partitions, the groups of
routes that a forwarding chip holds together in one bucket of a hardware
table.
.")

set(lpmtrie_library_package "liblpmtrie${PROJECT_VERSION_MAJOR}")
lpmtrie_package(library NAME ${lpmtrie_library_package} SECTION libs
    DESCRIPTION "IP routing tables divided over bounded buckets - shared library
${lpmtrie_about}
This package holds the shared library.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
# Of which version a program needs the library that is linked with it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

lpmtrie_package(development NAME liblpmtrie-dev SECTION libdevel
    DEPENDS "${lpmtrie_library_package} ${lpmtrie_same_version}"
    DESCRIPTION "IP routing tables divided over bounded buckets - development files
${lpmtrie_about}
This package holds the headers, the static library and the files by
which CMake and pkg-config find the library.")

lpmtrie_package(tools NAME lpmtrie-tools SECTION net
    DESCRIPTION "IP routing tables divided over bounded buckets - command
${lpmtrie_about}
This package holds the command lpmtrie, which plans how routing tables
and their updates program a chip, compares tables, looks addresses up,
loads and draws tables and tells how they fill their buckets.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)

lpmtrie_package(python NAME python3-lpmtrie SECTION python
    DEPENDS "python3 (>= 3.9)" "${lpmtrie_library_package} ${lpmtrie_same_version}"
    DESCRIPTION "IP routing tables divided over bounded buckets - Python package
${lpmtrie_about}
This package reaches the library's types by name from Python 3.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/packaging/debian/python/postinst"
    "${PROJECT_SOURCE_DIR}/packaging/debian/python/prerm")

include(CPack)
