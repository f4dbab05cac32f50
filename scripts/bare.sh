# A bare Debian in a folder, and commands that are run in it. To be sourced after "say" and "die" are there; needs root.
# shellcheck shell=bash disable=SC2034

# Where this system's own packages of Debian come from, as lines for a list of sources.
debian_sources() {
    # shellcheck disable=SC2016 # names of apt's
    apt-get indextargets --format '$(ORIGIN) deb $(SITE) $(CODENAME) $(COMPONENT)' 'Identifier: Packages' \
        | sed -n 's/^Debian //p' | sort -u
}
# shellcheck source=/dev/null
debian_codename() (. /etc/os-release && echo "$VERSION_CODENAME")

# make_bare_system FOLDER CODENAME LOG: that version of Debian, from where this system's own packages come from.
make_bare_system() {
    local folder=$1 codename=$2 log=$3 own mirror
    command -v debootstrap >/dev/null || apt-get install -y --no-install-recommends debootstrap
    own="$(debian_codename)"
    mirror="$(debian_sources | awk -v codename="$own" '$3 == codename && $4 == "main" { print $2; exit }')"
    [[ -n $mirror ]] || die "this system does not say where Debian's packages come from"
    say "Making a bare system ($codename)."
    mkdir -p "$folder"
    chmod 755 "$folder"
    unshare --mount debootstrap --variant=minbase --include=ca-certificates "$codename" "$folder" "$mirror" >"$log" \
        || die "debootstrap failed; see $log"
    debian_sources | sed "s/ $own/ $codename/" >"$folder/etc/apt/sources.list"
    printf '127.0.0.1 localhost\n::1 localhost\n' >"$folder/etc/hosts"
    inside "$folder" apt-get update -qq
}

# What commands in a bare system see of this one: FOLDER:PLACE, or FOLDER:PLACE:ro to be read only.
shown=()

# inside FOLDER COMMAND...: runs a command in the bare system, which is its root as if it had been started from it: the
# engine's sandbox does not work below another root. What is mounted and started for it goes with it.
inside() {
    # shellcheck disable=SC2016 # for the shell that is started
    unshare --mount --pid --fork --kill-child bash -ec '
        cd "$0"
        mount --bind . .
        cd "$0"
        mount -t proc proc proc
        for folder in sys dev; do mount --rbind "/$folder" "$folder"; done
        while [[ $1 != -- ]]; do
            IFS=: read -r folder place mode <<<"$1"
            mkdir -p "./$place"
            mount --bind "$folder" "./$place"
            [[ -z $mode ]] || mount -o "remount,bind,$mode" "./$place"
            shift
        done
        shift
        pivot_root . .
        umount --lazy .
        cd /
        /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
        exit 0 # by this shell, the first process of its own, which is no good parent for a display' \
        "$1" "${shown[@]}" -- "${@:2}"
}
