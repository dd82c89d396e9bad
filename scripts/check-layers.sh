#!/usr/bin/env bash
# Checks that every include arrow between folders points down the layers of docs/architecture.md.
# For each folder of production code (tests, fakes and fixtures may reach up to what they test),
# the folders its #include "..." lines may name besides its own. A line that names any other is
# printed and the check fails. Run by ctest as `layers`.
set -eu
cd "$(git -C "$(dirname "$0")" rev-parse --show-toplevel)"

platform='platform/(runtime|net|registry|forms|device)'
# folder            may include
rules=(
  "platform/runtime  ^$"
  "platform/net      ^platform/runtime$"
  "platform/registry ^platform/runtime$"
  "platform/forms    ^platform/runtime$"
  "platform/device   ^platform/(runtime|net)$"
  "config_appl/port  ^$platform$"
  "config_appl/form1 ^$platform$"
  "config_appl/model ^(config_appl/port|$platform)$"
  "config_appl/form  ^(config_appl/(model|port|form1)|$platform)$"
  "config_appl/store ^(config_appl/(model|port|form1)|$platform)$"
  "config_appl/driver ^(config_appl/(model|port|form1)|$platform)$"
  "config_appl/status ^(config_appl/(model|port|form1)|$platform)$"
  "config_appl/app   ^(config_appl/[a-z_0-9]+|$platform)$"
  "tools/machine     ^$platform$"
  "tools/[a-z-]+     ^(config_appl/(app|port)|$platform|tools/machine)$"
  "window            ^(config_appl/(app|form1)|$platform|tools/[a-z-]+)$"
  "daemon            ^(config_appl/port|$platform)$"
)

istest='(_test\.(cpp|cc)$|(^|/)test_[^/]*$|_fake\.h$|fixture)'
folder_of() {  # config_appl/model/x.h -> config_appl/model; window/x.cpp -> window
  case "$1" in
    config_appl/* | platform/* | tools/*) echo "$1" | cut -d/ -f1-2 ;;
    *) echo "$1" | cut -d/ -f1 ;;
  esac
}

bad=0
while read -r file; do
  from=$(folder_of "$file")
  allowed=""
  for rule in "${rules[@]}"; do
    read -r pattern may <<<"$rule"
    if [[ "$from" =~ ^${pattern}$ ]]; then allowed=$may; break; fi
  done
  [ -n "$allowed" ] || continue
  while IFS=: read -r line target; do
    to=$(folder_of "$target")
    [ "$to" = "$from" ] && continue
    if ! [[ "$to" =~ $allowed ]]; then
      echo "$file:$line: $from may not include $target"
      bad=1
    fi
  done < <(grep -n -o -E '^#include "[a-z_0-9-]+/[^"]+"' "$file" | sed -E 's/#include "([^"]+)"/\1/')
done < <(git ls-files 'config_appl/*' 'platform/*' 'tools/*' 'window/*' 'daemon/*' |
         grep -E '\.(cpp|h)$' | grep -v -E "$istest")

if [ "$bad" = 0 ]; then echo "every include arrow points down"; fi
exit "$bad"
