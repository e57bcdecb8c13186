# What others wrote of that which is installed, each with its licence, in one file: on Debian where each package's licences
# are looked for, in the archive for Windows at its top. The licences' texts are those that came with Debian's packages.

set(third_party "")
set(texts "")
# third_party(<component> INCLUDE <folder of its headers> LICENCE <name> HOW <how it is used> PACKAGE <Debian package>
#             [STANZA <licence>]): with STANZA only the text of that licence is taken, by its name in the package's file, which
# names every file of the component, built in or not.
macro(third_party component)
    cmake_parse_arguments(ARG "" "INCLUDE;LICENCE;HOW;PACKAGE;STANZA" "" ${ARGN})
    string(APPEND third_party "  ${component}: ${ARG_LICENCE}\n      ${ARG_HOW}\n")
    if(ARG_INCLUDE)
        string(APPEND third_party "      #include <${ARG_INCLUDE}/...>\n")
    endif()
    if(EXISTS /usr/share/doc/${ARG_PACKAGE}/copyright)
        file(READ /usr/share/doc/${ARG_PACKAGE}/copyright text)
        if(ARG_STANZA)
            string(REGEX MATCH "\nLicense: ${ARG_STANZA}\n( [^\n]*\n)+" text "${text}")
        endif()
        string(APPEND texts "\n${rule}\n${component}\n${rule}\n\n${text}")
    endif()
endmacro()
string(REPEAT "-" 78 rule)

third_party("Boost" INCLUDE boost LICENCE "Boost Software License 1.0" PACKAGE libboost1.74-dev STANZA "BSL-1[.]0"
            HOW "headers of the Boost project's contributors, compiled into the libraries and the tool")
third_party("{fmt}" INCLUDE fmt LICENCE "MIT, with an exception for object code" PACKAGE libfmt-dev
            HOW "headers, compiled into zel and the tool")
third_party("spdlog" INCLUDE spdlog LICENCE "MIT" PACKAGE libspdlog-dev
            HOW "headers, compiled into zel and the tool")
third_party("CLI11" INCLUDE CLI LICENCE "BSD, 3 clauses" PACKAGE libcli11-dev
            HOW "headers, compiled into the tool")
third_party("JSON for Modern C++" INCLUDE nlohmann LICENCE "MIT" PACKAGE nlohmann-json3-dev
            HOW "headers, compiled into the library and the tool")
if(WIN32)
    set(how "linked into the library")
else()
    set(how "linked into the tool; the library asks for Debian's shared one")
endif()
if(QUARROW_ZLIB_LIBRARY)
    third_party("zlib" LICENCE "zlib" PACKAGE zlib1g HOW "${how}")
endif()
if(QUARROW_LIBLZMA_LIBRARY)
    third_party("liblzma" LICENCE "public domain" PACKAGE liblzma5 HOW "${how}")
endif()
if(QUARROW_LIBBZ2_LIBRARY)
    third_party("libbzip2" LICENCE "bzip2 (BSD, 4 clauses)" PACKAGE libbz2-1.0 HOW "${how}")
endif()
if(QUARROW_PUGIXML_LIBRARY)
    third_party("pugixml" LICENCE "MIT" PACKAGE libpugixml-dev HOW "${how}")
endif()
if(MINGW)
    third_party("GCC's run-time libraries" LICENCE "GPL 3 or later, with the GCC Runtime Library Exception 3.1"
                PACKAGE gcc-mingw-w64-x86-64-posix-runtime HOW "libstdc++-6.dll and libgcc_s_seh-1.dll come along")
    third_party("MinGW-w64" LICENCE "MIT, Zope Public License 2.1 and others" PACKAGE mingw-w64-x86-64-dev
                HOW "libwinpthread-1.dll comes along; its start-up code is linked in")
else()
    third_party("GCC's run-time libraries" LICENCE "GPL 3 or later, with the GCC Runtime Library Exception 3.1"
                PACKAGE libstdc++6 HOW "libstdc++ and libgcc are linked into the tool")
    third_party("GNU C library" LICENCE "LGPL 2.1 or later" PACKAGE libc6
                HOW "linked into the static tool, which is a file of its own; the others load the system's")
endif()

set(notice "Quarrow has no licence yet: that is for its owner to choose.\n\n")
string(APPEND notice "What others wrote and is built in or comes along, with its licence:\n\n${third_party}${texts}")
if(MINGW)
    file(WRITE ${PROJECT_BINARY_DIR}/THIRD-PARTY.txt "${notice}")
    install(FILES ${PROJECT_BINARY_DIR}/THIRD-PARTY.txt ${PROJECT_SOURCE_DIR}/packaging/windows/README.txt
            DESTINATION . COMPONENT libraries)
else()
    file(WRITE ${PROJECT_BINARY_DIR}/copyright "${notice}")
    # Debian's changelog has a form of its own.
    quarrow_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md CHANGELOG.md.gz)
    file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    file(WRITE ${PROJECT_BINARY_DIR}/changelog "quarrow (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
        "  * CHANGELOG.md.gz, beside this file, tells what changed.\n\n"
        " -- Quarrow maintainers <maintainers@quarrow.invalid>  ${date}\n")
    quarrow_compressed(${PROJECT_BINARY_DIR}/changelog changelog.gz)
    foreach(folder quarrow:tool libquarrow${PROJECT_VERSION_MAJOR}:libraries libquarrow-dev:development)
        string(REGEX MATCH "^[^:]+" package ${folder})
        string(REGEX MATCH "[^:]+$" component ${folder})
        install(FILES ${PROJECT_BINARY_DIR}/copyright ${PROJECT_BINARY_DIR}/changelog.gz ${PROJECT_BINARY_DIR}/CHANGELOG.md.gz
                DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
    endforeach()
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/quarrow.lintian-overrides
            DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME quarrow COMPONENT tool)
endif()
