# What `cmake --install` lays down, in five components:
#
#   library      the shared library
#   development  headers, the static library, the CMake package, the pkg-config files, the manual page
#   tools        the command, its manual page and its completion in bash
#   python       the Python package
#   client       headers and static library of the reference client
#
# Everything that is laid down finds its neighbours by relative paths, so that a prefix can be moved
# or chosen as late as in `cmake --install --prefix`.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# One folder below the system's: `Vexo`, `Nimbal` and their like are too short to stand there alone.
set(lpmtrie_include_dir "${CMAKE_INSTALL_INCLUDEDIR}/lpmtrie")
set(lpmtrie_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/LpmTrie")
set(LPMTRIE_PYTHON_DIR "lib/python3/dist-packages" CACHE STRING
    "Where the Python package goes, relative to the prefix; the default is Debian's place")

# Headers that only the library's own sources include are not the client's business.
string(JOIN "|" lpmtrie_private_headers
    "LpmTrie/(DescriptorText|Index(Block|Path|Walk)|Module|Trie(Descent|Hooks|Index|Nodes))"
    "Nimbal/TextReader"
    "Vexo/ObjectNames")
install(DIRECTORY Vexo Torvel Nimbal LpmTrie
    DESTINATION "${lpmtrie_include_dir}"
    COMPONENT development
    FILES_MATCHING PATTERN "*.h"
    REGEX "/(${lpmtrie_private_headers})\\.h$" EXCLUDE)
install(FILES "${PROJECT_BINARY_DIR}/include/LpmTrie/Version.h"
    DESTINATION "${lpmtrie_include_dir}/LpmTrie"
    COMPONENT development)

install(TARGETS LpmTrieShared LpmTrieStatic
    EXPORT LpmTrieTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    INCLUDES DESTINATION "${lpmtrie_include_dir}")

# The CMake package.
install(EXPORT LpmTrieTargets
    NAMESPACE LpmTrie::
    DESTINATION "${lpmtrie_cmake_dir}"
    COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/LpmTrieConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/LpmTrieConfig.cmake"
    INSTALL_DESTINATION "${lpmtrie_cmake_dir}"
    PATH_VARS CMAKE_INSTALL_LIBDIR
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/LpmTrieConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/LpmTrieConfig.cmake"
    "${PROJECT_BINARY_DIR}/LpmTrieConfigVersion.cmake"
    DESTINATION "${lpmtrie_cmake_dir}"
    COMPONENT development)

# pkg-config: `lpmtrie` links the shared library, `lpmtrie-static` the archive.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE lpmtrie_pc_libdir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE lpmtrie_pc_prefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE lpmtrie_pc_includedir)
function(lpmtrie_pkg_config name description library)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/lpmtrie.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
        COMPONENT development)
endfunction()
lpmtrie_pkg_config(lpmtrie "Routing tables divided over bounded hardware buckets" "-llpmtrie")
lpmtrie_pkg_config(lpmtrie-static
    "Routing tables divided over bounded hardware buckets, linked statically" "-l:liblpmtrie.a")

install(FILES docs/lpmtrie.3 DESTINATION "${CMAKE_INSTALL_MANDIR}/man3" COMPONENT development)

# The reference client, outside of the export: it goes with either library.
install(DIRECTORY client
    DESTINATION "${lpmtrie_include_dir}"
    COMPONENT client
    FILES_MATCHING PATTERN "*.h")
install(TARGETS Client ARCHIVE COMPONENT client)

if(TARGET lpmtrie)
    install(TARGETS lpmtrie RUNTIME COMPONENT tools)
    # Where bash looks for it, under the command's name, once the command is first completed.
    install(FILES tools/lpmtrie.bash-completion
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        RENAME lpmtrie
        COMPONENT tools)
    install(FILES docs/lpmtrie.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
endif()

# The Python package looks for the library beside itself first: a link there makes it find the one
# of its own prefix, wherever that is.
set(lpmtrie_python_package "${LPMTRIE_PYTHON_DIR}/lpmtrie")
install(DIRECTORY python/lpmtrie/
    DESTINATION "${lpmtrie_python_package}"
    COMPONENT python
    FILES_MATCHING PATTERN "*.py"
    PATTERN "__pycache__" EXCLUDE)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${lpmtrie_python_package}"
    OUTPUT_VARIABLE lpmtrie_python_to_library)
set(lpmtrie_soname "liblpmtrie.so.${PROJECT_VERSION_MAJOR}")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/python")
file(CREATE_LINK "${lpmtrie_python_to_library}/${lpmtrie_soname}"
    "${PROJECT_BINARY_DIR}/python/${lpmtrie_soname}" SYMBOLIC)
install(FILES "${PROJECT_BINARY_DIR}/python/${lpmtrie_soname}"
    DESTINATION "${lpmtrie_python_package}"
    COMPONENT python)

if(PROJECT_IS_TOP_LEVEL)
    include(LpmTriePackages)
endif()
