#!/usr/bin/env bash
# Makes the Debian package of a build tree, unpacks it into a throw-away root and checks what a
# user would get: every part in its place, the back end's permissions, a valid desktop entry, and
# installed programs that find their parts in that root.
# Usage: package-test.sh BUILD_DIR PACKAGED(0|1)
set -euo pipefail
build=$1
packaged=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# zstd: the sanitizer build's package is large, and the package's own xz is slow over it.
cpack --config "$build/CPackConfig.cmake" -B "$work/out" \
  -D CPACK_DEBIAN_COMPRESSION_TYPE=zstd >"$work/cpack.log" 2>&1 || {
  cat "$work/cpack.log"
  fail "cpack"
}
debs=("$work"/out/nimbrix_*.deb)
deb=${debs[0]}
root=$work/root
dpkg -x "$deb" "$root"

helpers=usr/lib/nimbrix/helpers
programs=(
  usr/bin/nimbrix-agent
  usr/lib/cups/backend/nbxbackend
  "$helpers/nbx-polling-agent"
  "$helpers/PDLM.app/Contents/MacOS/PDLM"
  "$helpers/Nimbrix Notification.app/Contents/MacOS/Nimbrix Notification"
  "$helpers/Nimbrix Setup.app/Contents/MacOS/Nimbrix Setup"
  "$helpers/Valmora Account.app/Contents/MacOS/Valmora Account"
  usr/bin/nbx-doctor
)
for program in "${programs[@]}"; do
  [ -f "$root/$program" ] && [ -x "$root/$program" ] || fail "not an installed program: $program"
done
diff -r "$build/share/nimbrix" "$root/usr/share/nimbrix" || fail "resources differ from the build's"
[ -s "$root/usr/share/nimbrix/ppd/Nimbrix.gz" ] || fail "no printer description"

# The scheduler runs a back end as root only when nobody else may execute it.
dpkg-deb -c "$deb" >"$work/contents"
grep -Eq '^-rwx------ root/root .* \./usr/lib/cups/backend/nbxbackend$' "$work/contents" ||
  fail "back end is not 0700 root:root in the package"

entry=$root/usr/share/applications/nimbrix-agent.desktop
desktop-file-validate "$entry" || fail "desktop entry"
grep -qx 'Exec=nimbrix-agent' "$entry" || fail "desktop entry does not start the agent"
grep -qx 'Icon=nimbrix-agent' "$entry" || fail "desktop entry names another icon"
icon=$root/usr/share/icons/hicolor/96x96/apps/nimbrix-agent.png
# Width and height from the PNG header: the theme folder must match the picture's size.
[ "$(od -An -tu1 -j16 -N8 "$icon" | tr -s ' ')" = " 0 0 0 96 0 0 0 96" ] ||
  fail "icon is not 96x96"

depends=$(dpkg-deb -f "$deb" Depends)
for needed in cups-daemon cups-client cups-filters libqt6widgets6 libcups2 libcurl4 libssl3; do
  [[ $depends == *"$needed"* ]] || fail "Depends lacks $needed: $depends"
done

# The installed programs with none of the overrides the other tests set, a closed port for the
# service and no session bus to wait on.
clean_env=(env $(compgen -e | sed -n 's/^NBX_/-u NBX_/p')
  -u DBUS_SESSION_BUS_ADDRESS HOME="$work/home" XDG_RUNTIME_DIR="$work/run"
  QT_QPA_PLATFORM=offscreen NBX_LOOKUP_SERVER=127.0.0.1:9)
mkdir "$work/home"
mkdir -m 700 "$work/run"
# What the agent opens tells where it looked. The leak check cannot run under a tracer.
strace -f -qq -e trace=openat -e status=successful -o "$work/trace" "${clean_env[@]}" \
  ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" \
  timeout 60 "$root/usr/bin/nimbrix-agent" --quit-after-show ||
  fail "the installed agent did not start and quit"
for resource in Info.plist languageXML/; do
  grep -qF "\"$root/usr/share/nimbrix/$resource" "$work/trace" ||
    fail "the installed agent did not read its $resource"
done

# It fails overall (no service, no queue here); only its finding about the helpers matters, and
# only a packaged build looks for them under the root it was unpacked in.
"${clean_env[@]}" timeout 60 "$root/usr/bin/nbx-doctor" --json >"$work/doctor.json" || true
helpers_check=$(grep -o '{[^{}]*"name": *"helpers"[^{}]*}' "$work/doctor.json") ||
  fail "the installed doctor did not report on the helpers: $(cat "$work/doctor.json")"
if [ "$packaged" = 1 ]; then
  grep -q '"ok": *true' <<<"$helpers_check" ||
    fail "the installed programs do not find their helpers: $helpers_check"
fi
echo "package ok: $(basename "$deb")"
