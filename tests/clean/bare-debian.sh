# shellcheck shell=bash
# Functions for the scripts beside it: a Debian with only its base system, in a folder. To be sourced by a script
# that runs in mount and process namespaces of its own.

tree=$(git -C "$(dirname "${BASH_SOURCE[0]}")" rev-parse --show-toplevel)
readonly tree

# of_this_machine FIELD: prints the value of a field in /etc/os-release
of_this_machine() { sed -n "s/^$1=\"\?\([^\"]*\)\"\?\$/\1/p" /etc/os-release; }

# use_debian 12|13: selects the version for all functions below. $kept keeps its base system and downloads.
# shellcheck disable=SC2034  # for the script that sources this
use_debian() {
  case $1 in
    12) readonly release=12 suite=bookworm ;;
    13) readonly release=13 suite=trixie ;;
    *) echo "$0: Debian 12 or 13, not '$1'" >&2; exit 2 ;;
  esac
  readonly kept=$tree/build/clean/$suite
  mkdir -p "$kept/archives/partial"
}

# in_own_namespaces COMMAND...: runs it; its mounts and processes end with it
in_own_namespaces() { unshare --mount --propagation private --pid --fork --kill-child "$@"; }

step() {
  local name=$1 started=$SECONDS
  shift
  echo "== $name"
  "$@"
  echo "== $name: $((SECONDS - started)) s"
}

expect() {
  local what=$1
  shift
  "$@" || { echo "not so: $what"; return 1; }
}

# prepare_base: makes the base system unless it exists
prepare_base() { [[ -d $kept/base ]] || step "a bare $suite" bootstrap; }

bootstrap() {
  local at=$kept/base.new
  rm -rf "$at"
  http_proxy=$(proxy_of_apt) debootstrap --variant=minbase "$suite" "$at" "$(mirror)" > "$at.log" 2>&1 ||
    { tail -20 "$at.log"; return 1; }
  cp /etc/resolv.conf /etc/hosts "$at/etc/"
  copy_package_sources "$at"
  start_no_services "$at"
  wait_for_no_disk "$at"
  rm -f "$at/etc/apt/apt.conf.d/docker-clean"
  mv "$at" "$kept/base"
}

# layer_over FOLDER LAYERS: mounts a system at FOLDER/root, which writes its changes to the folder
layer_over() {
  mkdir -p "$1"/{upper,work,root}
  mount -t overlay overlay -o "lowerdir=$2,upperdir=$1/upper,workdir=$1/work" "$1/root"
  mount_kernel_folders "$1/root"
}

# layer_over_base FOLDER PACKAGES: the same over the base system, with a folder of packages in it
layer_over_base() {
  local at=$1/root
  prepare_base
  layer_over "$1" "$kept/base"
  mount --bind "$kept/archives" "$at/var/cache/apt/archives"
  mkdir "$at/packages"
  cp "$2"/*.deb "$at/packages/"
}

# The system is temporary, so dpkg does not have to flush packages to the disk.
wait_for_no_disk() { echo force-unsafe-io > "$1/etc/dpkg/dpkg.cfg.d/no-disk-to-wait-for"; }

# Otherwise installed packages would start daemons in this machine's network.
start_no_services() {
  printf '#!/bin/sh\nexit 101\n' > "$1/usr/sbin/policy-rc.d"
  chmod +x "$1/usr/sbin/policy-rc.d"
}

# mirror: prints the mirror of this machine's packages
# shellcheck disable=SC2016  # the fields are apt's own, not the shell's
mirror() {
  apt-get indextargets --format '$(SITE) $(RELEASE)' |
    awk -v s="$(of_this_machine VERSION_CODENAME)" '$2 == s {print $1; exit}'
}

proxy_of_apt() {
  local proxy=${http_proxy:-}
  eval "$(apt-config shell proxy Acquire::http::Proxy)"
  echo "$proxy"
}

# copy_package_sources ROOT: copies this machine's package sources, adapted to the selected version
copy_package_sources() {
  local at=$1 file
  rm -f "$at/etc/apt/sources.list"
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources; do
    if [[ -f $file ]]; then
      sed "s/\b$(of_this_machine VERSION_CODENAME)\b/$suite/g" "$file" > "$at/$file"
    fi
  done
  apt-config dump | grep -iE '^Acquire::(https?::Proxy|Retries|Check)' \
    > "$at/etc/apt/apt.conf.d/90-as-outside" || true
}

mount_kernel_folders() {
  local at=$1 node
  mount -t proc proc "$at/proc"
  mount -t sysfs sysfs "$at/sys"
  mount -t tmpfs -o mode=755 dev "$at/dev"
  mkdir "$at/dev/pts" "$at/dev/shm"
  mount -t devpts -o newinstance,ptmxmode=666 devpts "$at/dev/pts"
  mount -t tmpfs -o mode=1777 shm "$at/dev/shm"
  for node in null zero full random urandom tty; do
    touch "$at/dev/$node"
    mount --bind "/dev/$node" "$at/dev/$node"
  done
  ln -s pts/ptmx "$at/dev/ptmx"
  ln -s /proc/self/fd "$at/dev/fd"
  ln -s fd/0 "$at/dev/stdin"; ln -s fd/1 "$at/dev/stdout"; ln -s fd/2 "$at/dev/stderr"
}

# publish_no_name HOME: disables the name, so that nothing is sent to this machine's network
publish_no_name() {
  mkdir -p "$1/.config/Tarvinel"
  echo '{"hostname": ""}' > "$1/.config/Tarvinel/config.json"
}

# wait_for_port PID LOG LIMIT: waits until the program listens and prints the port
wait_for_port() {
  local pid=$1 log=$2 deadline=$((SECONDS + $3))
  while ((SECONDS < deadline)) && kill -0 "$pid" 2>/dev/null; do
    grep -oE 'listening on port [0-9]+' "$log" | grep -oE '[0-9]+' && return 0
    sleep 0.2
  done
  echo "the program did not listen" >&2
  return 1
}

# look_from_outside PORT: checks that page and stream are served
look_from_outside() {
  local page stream
  page=$(curl -s --noproxy '*' --max-time 10 "http://127.0.0.1:$1/") || true
  grep -q '<img id="screen" src="/stream" alt="">' <<< "$page" ||
    { echo "no page on port $1"; return 1; }
  stream=$(curl -s --noproxy '*' --max-time 10 "http://127.0.0.1:$1/stream" | head -c 4096 |
    tr -d '\0') || true
  grep -qa -- '^--tarvinelframe' <<< "$stream" || { echo "no frame on port $1"; return 1; }
  echo "page and stream are served on port $1"
}

# end_in_order PID: terminates the program and checks that it ends with status 0
end_in_order() {
  local status=0
  kill -TERM "$1"
  wait "$1" || status=$?
  echo "ended with status $status"
  return "$status"
}
