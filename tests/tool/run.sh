#!/usr/bin/env bash
# zovtool on the captured examples: golden output of inspect, round trips of
# package -> inspect and compress -> decompress, and exit statuses.
# Usage: run.sh ZOVTOOL EXAMPLES_DIR GOLDEN_DIR   (ZOV_UPDATE_GOLDEN=1 rewrites the golden files)
set -uo pipefail
tool=$1 examples=$2 golden=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0 failed=0

ok() { passed=$((passed + 1)); }
fail() { failed=$((failed + 1)); echo "FAIL: $*"; }
expect_status() {  # expected-status description command...
  local want=$1 what=$2; shift 2
  "$@" >"$work/out" 2>"$work/err"
  local got=$?
  if [ "$got" -eq "$want" ]; then ok; else fail "$what: exit $got, wanted $want"; cat "$work/err"; fi
}
golden_check() {  # name command...
  local name=$1; shift
  "$@" >"$work/$name" 2>"$work/$name.err" || { fail "$name: exit $?"; cat "$work/$name.err"; return; }
  if [ "${ZOV_UPDATE_GOLDEN:-0}" = 1 ]; then cp "$work/$name" "$golden/$name"; fi
  if diff -u "$golden/$name" "$work/$name"; then ok; else fail "$name differs from its golden output"; fi
}

# Golden output of every example, as text, and of the configurations as JSON.
for capture in "$examples"/*.http; do
  base=$(basename "$capture" .http)
  golden_check "$base.txt" "$tool" inspect "$capture"
done
golden_check config-wired.json "$tool" inspect --json "$examples/config-wired.http"
golden_check config-wireless.json "$tool" inspect --json "$examples/config-wireless.http"
golden_check stdin.txt "$tool" inspect - <"$examples/result.http"
# A configuration the library refuses is shown with the library's reasons.
sed 's|<speed>1000</speed>|<speed>10G0</speed>|' "$examples/config-wired.http" >"$work/config-refused.http"
golden_check config-refused.txt "$tool" inspect "$work/config-refused.http"

# Attachments are saved byte for byte.
mkdir "$work/saved"
expect_status 0 "save attachments" "$tool" inspect --save-attachments "$work/saved" "$examples/multipart-attachment.http"
python3 - "$work/saved" <<'PY' && ok || fail "saved attachment content"
import sys, pathlib
files = list(pathlib.Path(sys.argv[1]).iterdir())
assert len(files) == 1 and files[0].name == "attachment-1-package.bin", files
assert files[0].read_bytes() == bytes(range(256)) * 4 + b"end of attachment\n"
PY

# package -> inspect: the envelope's records and the attachments come back.
cat >"$work/envelope.xml" <<'XML'
<zovMessage><resultEnvelope><commandGuid>round-trip-1</commandGuid><success/></resultEnvelope></zovMessage>
XML
printf 'first attachment\nline two\n' >"$work/notes.txt"
printf 'second' >"$work/second.bin"
expect_status 0 "package" "$tool" package -o "$work/message" "$work/envelope.xml" "$work/notes.txt" "$work/second.bin"
mkdir "$work/back"
if "$tool" inspect --json --save-attachments "$work/back" "$work/message" >"$work/back.json"; then
  python3 - "$work/back.json" "$work/back" <<'PY' && ok || fail "package -> inspect round trip"
import json, sys, pathlib
doc = json.load(open(sys.argv[1]))
assert [r["kind"] for r in doc["records"]] == ["result"], doc["records"]
assert doc["records"][0]["guid"] == "round-trip-1" and doc["records"][0]["success"] == 1
saved = pathlib.Path(sys.argv[2])
assert (saved / "attachment-1-notes.txt").read_bytes() == b"first attachment\nline two\n"
assert (saved / "attachment-2-second.bin").read_bytes() == b"second"
assert [h["value"] for h in doc["attachments"][0]["headers"]] == ["application/octet-stream", "notes.txt"]
PY
else
  fail "inspect of a packaged message"
fi

# compress -> decompress, whole and split; the images are plain gzip.
python3 -c "
import os, sys
data = b''.join(os.urandom(4096) + b'compressible text ' * 400 for _ in range(40))
open(sys.argv[1], 'wb').write(data)" "$work/image.raw"
expect_status 0 "compress" "$tool" compress --level 9 "$work/image.raw" "$work/image.gz"
gzip -t "$work/image.gz" && ok || fail "gzip -t on a whole image"
expect_status 0 "decompress" "$tool" decompress "$work/image.gz" "$work/image.back"
cmp -s "$work/image.raw" "$work/image.back" && ok || fail "whole image round trip"
expect_status 0 "split compress" "$tool" compress --split 100000 "$work/image.raw" "$work/piece"
pieces=("$work"/piece.*)
[ "${#pieces[@]}" -gt 1 ] && ok || fail "split wrote ${#pieces[@]} pieces"
expect_status 0 "split decompress" "$tool" decompress "${pieces[@]}" "$work/pieces.back"
cmp -s "$work/image.raw" "$work/pieces.back" && ok || fail "split image round trip"
expect_status 0 "estimate" "$tool" estimate "$work/image.raw"
grep -q "bytes compressed at level 6" "$work/out" && ok || fail "estimate output"

# The logger options work before or after the command.
expect_status 0 "logger options after the command" \
  "$tool" inspect --log-level 3 --log-file "$work/tool.log" "$examples/result.http"
grep -q "not a MIME message" "$work/tool.log" && ok || fail "level-3 report in the log file"

# Hostile captures: deep nesting is printed cut (the stack stays small), junk is
# refused or shows nothing, and a huge Content-Length never reads past the body.
python3 - "$work" <<'PY'
import random, sys
work = sys.argv[1]
def capture(name, body):
    head = b"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: %d\r\n\r\n" % len(body)
    open(f"{work}/{name}", "wb").write(head + body)
n = 200000
capture("deep.http", b"<m><dialog><x>" + b"<a>" * n + b"</a>" * n + b"</x></dialog></m>")
capture("junk-body.http", random.Random(8).randbytes(100000))
open(f"{work}/junk.http", "wb").write(random.Random(9).randbytes(100000))
PY
for mode in "" --json; do
  expect_status 0 "deeply nested $mode" "$tool" inspect $mode "$work/deep.http"
  [ "$(wc -c <"$work/out")" -lt 200000 ] && grep -q -E '\.\.\.|"truncated": true' "$work/out" && ok ||
    fail "deeply nested $mode: tree not cut"
done
expect_status 0 "binary body" "$tool" inspect --json "$work/junk-body.http"
expect_status 1 "binary capture" "$tool" inspect "$work/junk.http"
printf 'HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n<a/>' >"$work/huge.http"
expect_status 1 "huge Content-Length" "$tool" inspect "$work/huge.http"
# A repeated header updates the first one in place, as the library's list does.
printf 'Content-Length: 999\r\nContent-Type: text/xml\r\n  Content-Length:  4\r\n\r\n<a/>' >"$work/twice.http"
expect_status 0 "repeated header" "$tool" inspect --json "$work/twice.http"
python3 -c "import json,sys; h=json.load(open(sys.argv[1]))['headers']
assert [x['value'] for x in h] == ['4', 'text/xml'], h" "$work/out" && ok || fail "repeated header list"
# An interim 100 Continue answer ahead of the response, as curl -i saves it.
{ printf 'HTTP/1.1 100 Continue\r\n\r\n'; cat "$examples/result.http"; } >"$work/continue.http"
expect_status 0 "interim answer" "$tool" inspect "$work/continue.http"
grep -q 'status: "HTTP/1.1 200 OK"' "$work/out" && ok || fail "interim answer skipped"

# Exit statuses: refused input 1, usage 2.
expect_status 1 "missing capture" "$tool" inspect "$work/nonexistent"
printf 'HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n' >"$work/500.http"
expect_status 1 "status 500" "$tool" inspect "$work/500.http"
printf 'HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 999\r\n\r\n<a/>' >"$work/short.http"
expect_status 1 "cut-off body" "$tool" inspect "$work/short.http"
printf 'just some text' >"$work/garbage.http"
expect_status 1 "no headers" "$tool" inspect "$work/garbage.http"
head -c 1000 /dev/urandom >"$work/garbage.gz"
expect_status 1 "corrupt image" "$tool" decompress "$work/garbage.gz" "$work/garbage.out"
expect_status 1 "unreadable source" "$tool" compress "$work/nonexistent" "$work/x.gz"
expect_status 2 "no command" "$tool"
expect_status 2 "unknown option" "$tool" inspect --bogus "$examples/result.http"
expect_status 2 "decompress without a destination" "$tool" decompress "$work/image.gz"
expect_status 2 "bad level" "$tool" compress --level 10 "$work/image.raw" "$work/x.gz"
expect_status 0 "help" "$tool" inspect --help

echo "zovtool: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
