#!/usr/bin/env bash
# The layering check that each layer's build runs: an include of a layer above fails it, naming
# the file and both layers; includes of lower layers and of the public headers pass.
set -euo pipefail
check="$1/scripts/check-layering"
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree/src/device" "$tree/src/resources"
printf '#include "util/path.h"\n#include "quilby/device_types.h"\n' >"$tree/src/device/ok.h"
"$check" "$tree" device
printf '#include "resources/sensor_lookup.h"\n' >"$tree/src/device/upward.cpp"
if output=$("$check" "$tree" device); then
  echo "an upward include passed the check" >&2
  exit 1
fi
grep -q 'src/device/upward.cpp (layer device) includes a header of layer resources' <<<"$output"
