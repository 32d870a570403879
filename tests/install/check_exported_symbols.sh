#!/usr/bin/env bash
# Fails when the shared library exports a symbol that is not a member, the type information or
# the virtual table of one of the exported classes.
set -euo pipefail
library=$1
classes='Kt::(baseControlInterface|Vector|Orientation|coordinateSystemTransformation|ReArray)|orlix::controlInterface|KtShape|KtSphere|KtCapsule|KtBox|KtPropagationResultData'
pattern="^((typeinfo|typeinfo name|vtable) for ($classes)\$|($classes)::)"
symbols=$(nm -D --defined-only --demangle "$library" | cut -d' ' -f3-)
[ -n "$symbols" ] || { echo "no exported symbols in $library"; exit 1; }
stray=$(grep -Ev "$pattern" <<< "$symbols" || true)
if [ -n "$stray" ]; then
  echo "symbols exported beyond the interface classes:"
  echo "$stray"
  exit 1
fi
for class in Kt::baseControlInterface orlix::controlInterface KtSphere KtPropagationResultData; do
  grep -q "^$class::" <<< "$symbols" || { echo "$class is not exported"; exit 1; }
done
# An outside program deleting a polymorphic object needs the class's virtual table.
for class in Kt::ReArray orlix::controlInterface KtShape; do
  grep -qx "vtable for $class" <<< "$symbols" || { echo "the virtual table of $class is not exported"; exit 1; }
done
echo "$(wc -l <<< "$symbols") exported symbols, all of the interface classes"
