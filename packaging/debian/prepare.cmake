# Run by cpack on the staged files of each component, before the packages are closed: adds the
# copyright and the changelog that Debian wants in every package, and compresses manual pages.

if(NOT CPACK_PACKAGING_INSTALL_PREFIX STREQUAL "/usr")
    message(FATAL_ERROR "Debian's packages are for /usr, and this tree was configured for "
        "${CPACK_PACKAGING_INSTALL_PREFIX}: configure it with -DCMAKE_INSTALL_PREFIX=/usr, as scripts/packages does")
endif()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH, when that is set
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

# Without name and time inside, so that the same input gives the same package.
function(compress file)
    execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "${component}" upper)
    set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")
    if(NOT IS_DIRECTORY "${root}")
        message(FATAL_ERROR "cpack has staged ${component} elsewhere than in ${root}")
    endif()
    set(doc "${root}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
    configure_file("${CPACK_LPMTRIE_PACKAGING_DIR}/copyright" "${doc}/copyright" COPYONLY)
    configure_file("${CPACK_LPMTRIE_PACKAGING_DIR}/changelog.in" "${doc}/changelog.Debian" @ONLY)
    compress("${doc}/changelog.Debian")

    file(GLOB pages "${root}/share/man/man*/*.[0-9]")
    foreach(page IN LISTS pages)
        compress("${page}")
    endforeach()
endforeach()

# The link that makes the package find the library of its own prefix: here the system's loader finds
# it, and the package is the same for all architectures without.
file(REMOVE
    "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/python${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_LPMTRIE_PYTHON_LINK}")
