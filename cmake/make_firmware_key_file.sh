#!/usr/bin/env bash
# Writes a firmware key file, the format that the VONAUTIL_KEY_FILE build option takes, from
# the product's two DSA keys (PEM, private or public) and its 32-byte body key (64 hex digits):
#
#   cmake/make_firmware_key_file.sh FIRMWARE_KEY.pem DAS_KEY.pem BODY_KEY_HEX > product_keys.txt
#
# Each line of the file is a name and a big-endian hex number of fixed size:
#   body_key 32 bytes; firmware_p 257, firmware_q 21, firmware_g 256, firmware_y 257;
#   das_p 257, das_q 21, das_g 256, das_y 256. Lines starting with '#' are comments.
set -euo pipefail

if [ $# -ne 3 ]; then
  echo "Usage: $0 FIRMWARE_KEY.pem DAS_KEY.pem BODY_KEY_HEX" >&2
  exit 2
fi

# The text form of a key's public part.
key_text() {
  { openssl pkey -in "$1" -pubout 2>/dev/null || openssl pkey -pubin -in "$1" -pubout; } |
    openssl pkey -pubin -text -noout
}

# NAME BYTES HEX: one line of the key file, the number padded with zeros to BYTES bytes.
emit() {
  local hex=${3#"${3%%[!0]*}"}
  if [ ${#hex} -gt $(( 2 * $2 )) ]; then
    echo "$0: $1 does not fit in $2 bytes" >&2
    exit 1
  fi
  printf '%s ' "$1"
  printf '%*s' $(( 2 * $2 - ${#hex} )) '' | tr ' ' 0
  printf '%s\n' "$hex"
}

# KEY_TEXT LABEL: the hex digits of the number printed under LABEL ("pub:", "P:", "Q:", "G:").
number() {
  printf '%s\n' "$1" | awk -v label="$2" '
    $1 == label { on = 1; next }
    /^[^ ]/ { on = 0 }
    on { gsub(/[ :]/, ""); printf "%s", $0 }'
}

body=$(printf '%s' "$3" | tr 'A-F' 'a-f')
if ! [[ $body =~ ^[0-9a-f]{64}$ ]]; then
  echo "$0: the body key must be 64 hex digits" >&2
  exit 1
fi

echo "# Firmware key file written by make_firmware_key_file.sh from $(basename "$1") and $(basename "$2")."
emit body_key 32 "$body"
for key in firmware das; do
  [ $key = firmware ] && file=$1 y_bytes=257 || file=$2 y_bytes=256
  text=$(key_text "$file")
  emit ${key}_p 257 "$(number "$text" P:)"
  emit ${key}_q 21 "$(number "$text" Q:)"
  emit ${key}_g 256 "$(number "$text" G:)"
  emit ${key}_y $y_bytes "$(number "$text" pub:)"
done
