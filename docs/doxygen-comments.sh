#!/bin/sh
# Prints a header with its comments marked for Doxygen: those on lines of their own belong to what follows, those at the end
# of a line, and lines that go on below them, to what stands before. What Doxygen would take for a command or a tag is
# escaped. Specialisations of std templates are left out: Doxygen cannot tell where they belong.
# Usage: doxygen-comments.sh HEADER
exec awk '
    /^template <>$/ { specialisation = 1 }
    specialisation { specialisation = !/^};$/; print ""; next }
    !match($0, /\/\/( |$)/) { column = 0; print; next }
    {
        code = substr($0, 1, RSTART - 1)
        comment = substr($0, RSTART + 2)
        gsub(/[\\@<>#]/, "\\\\&", comment)
        column = code ~ /[^ ]/ || RSTART == column ? RSTART : 0
        print code (column ? "///<" : "///") comment
    }' "$1"
