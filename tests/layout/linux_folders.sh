#!/usr/bin/env bash
# Each folder of platform/linux uses the toolkit in common, the seam above it, what backends share and its own files,
# but no other service's. usage: linux_folders.sh <folder of the sources>
set -euo pipefail
cd "$1/SentrelKit/platform/linux"
status=0
for folder in */; do
    allowed="<SentrelKit/(base/.*|platform/[A-Za-z]+\.h|platform/(detail|support)/.*|platform/linux/(common|${folder%/})/.*)>"
    if grep -rnE '^ *# *include *(<SentrelKit/|")' "$folder" | grep -vE "# *include *$allowed"; then
        status=1
    fi
done
exit $status
