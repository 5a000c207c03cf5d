#!/usr/bin/env bash
# Runs both commands of the README on bare Debian systems, up to an hour each, and prints one table:
#   scripts/releases.sh [RELEASE...]      default: bookworm trixie
# debootstrap creates each system in a temporary folder, from the mirror that this system's apt uses. The new
# system gets a clone with the tracked files in their current state. The folder is removed afterwards; the
# output stays in build/releases/RELEASE.log.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ]; then
    echo "releases.sh: run this as root, which debootstrap, chroot and mount need" >&2
    exit 1
fi
releases=("$@")
[ $# -gt 0 ] || releases=(bookworm trixie)

apt-get update -qq
command -v debootstrap >/dev/null || apt-get install -y -qq --no-install-recommends debootstrap >/dev/null
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
    "Codename: $(. /etc/os-release && echo "$VERSION_CODENAME")" | head -n 1)
[ -n "$mirror" ] || { echo "releases.sh: apt has no source for this Debian release" >&2; exit 1; }

folder=$(mktemp -d)
running=
stop() {
    # Killing unshare kills the namespace's first process, which ends all others in it and removes its mounts.
    [ -z "$running" ] || { kill -KILL "$running" && wait "$running"; } 2>/dev/null || true
    for _ in $(seq 10); do # the last processes of the namespace may still be ending
        rm -rf --one-file-system "$folder" 2>/dev/null && break
        sleep 1
    done
}
trap stop EXIT
trap 'exit 130' INT TERM

# Runs in its own namespaces: Wine leaves processes running, and no mount may outlive an interruption.
run_release() {
    set -euo pipefail
    local root=$1 release=$2 mirror=$3 result=$4
    debootstrap --variant=minbase "$release" "$root" "$mirror"
    mount -t proc proc "$root/proc"
    mount --rbind /sys "$root/sys"
    mount --rbind /dev "$root/dev"
    cp /etc/resolv.conf /etc/hosts "$root/etc/"
    apt-config dump | grep '^Acquire::' >"$root/etc/apt/apt.conf.d/99outside" || true
    git clone --quiet --no-hardlinks . "$root/root/zelsyshelper"
    git ls-files -z | tar --null --ignore-failed-read -T - -c | tar -x -C "$root/root/zelsyshelper"

    inside() { chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb "$@"; }
    outcome() { inside "/root/zelsyshelper/scripts/$1.sh" </dev/null && echo passed >&3 || echo FAILED >&3; }
    local demo tests compiler wine
    demo=$(outcome demo 3>&1 >&2)
    tests=$(outcome test 3>&1 >&2)
    compiler=$(inside clang -dumpversion | cut -d. -f1) || compiler=none
    wine=$(inside dpkg-query -W -f '${Version}' wine64) || wine=none
    printf '| %s | clang %s | %s | %s | %s | %d |\n' "$release" "$compiler" "$wine" "$demo" "$tests" \
        $((SECONDS / 60)) >"$result"
    [ "$demo $tests" = "passed passed" ]
}
export -f run_release

mkdir -p build/releases
failed=0
for release in "${releases[@]}"; do
    log=build/releases/$release.log
    echo "releases.sh: $release, see $log" >&2
    unshare --mount --pid --fork --kill-child bash -c 'run_release "$@"' - \
        "$folder/$release" "$release" "$mirror" "$folder/$release.row" >"$log" 2>&1 </dev/null &
    running=$!
    wait "$running" || failed=1
    running=
    rm -rf --one-file-system "${folder:?}/$release"
done

printf '| release | compiler | Wine | demo | tests | minutes |\n| --- | --- | --- | --- | --- | --- |\n'
for release in "${releases[@]}"; do
    cat "$folder/$release.row" 2>/dev/null || echo "| $release | - | - | not run | not run | - |"
done
exit $failed
