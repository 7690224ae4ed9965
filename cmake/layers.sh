#!/bin/sh
# Fails when a file includes a header of a layer above its own: core <- lang <- lib <- edit.
cd "$1" || exit 2
bad=$(grep -n '#include "\(lang\|lib\|edit\)/' core/*.h core/*.cpp
      grep -n '#include "\(lib\|edit\)/' lang/*.h lang/*.cpp
      grep -n '#include "edit/' lib/*.h lib/*.cpp)
[ -z "$bad" ] && exit 0
echo "includes that run against the layers:"
echo "$bad"
exit 1
