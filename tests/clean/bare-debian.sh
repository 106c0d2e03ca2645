# shellcheck shell=bash
# Parts of the scripts beside it: a Debian 12 with nothing but its base system, in a folder. To be sourced
# by a script that runs in mount and process namespaces of its own.

readonly suite=bookworm
tree=$(git -C "$(dirname "${BASH_SOURCE[0]}")" rev-parse --show-toplevel)
readonly tree kept=$tree/build/clean

# in_own_namespaces COMMAND...: whatever it mounts or starts goes with it
in_own_namespaces() { unshare --mount --propagation private --pid --fork --kill-child "$@"; }

step() {
  local name=$1 started=$SECONDS
  shift
  echo "== $name"
  "$@"
  echo "== $name: $((SECONDS - started)) s"
}

# bootstrap ROOT: fills the folder
bootstrap() {
  local at=$1
  debootstrap --variant=minbase "$suite" "$at" "$(mirror)" > "$at.log" 2>&1 ||
    { tail -20 "$at.log"; return 1; }
  cp /etc/resolv.conf /etc/hosts "$at/etc/"
  copy_package_sources "$at"
  start_no_services "$at"
}

# layer_over_base FOLDER: a base system at FOLDER/root whose changes go with the folder. The base and what
# was downloaded are kept in $kept.
layer_over_base() {
  local at=$1/root
  [[ -d $kept/$suite ]] || step "a bare $suite" keep_base
  mkdir -p "$1"/{upper,work,root} "$kept/archives/partial"
  mount -t overlay overlay -o "lowerdir=$kept/$suite,upperdir=$1/upper,workdir=$1/work" "$at"
  mount_kernel_folders "$at"
  mount --bind "$kept/archives" "$at/var/cache/apt/archives"
  rm -f "$at/etc/apt/apt.conf.d/docker-clean"
  echo force-unsafe-io > "$at/etc/dpkg/dpkg.cfg.d/no-disk-to-wait-for"
  mkdir "$at/packages"
  cp "$tree/build/packages"/*.deb "$at/packages/"
}

keep_base() {
  bootstrap "$kept/$suite.new"
  mv "$kept/$suite.new" "$kept/$suite"
}

# A package that is installed would start its daemon in this machine's own network.
start_no_services() {
  printf '#!/bin/sh\nexit 101\n' > "$1/usr/sbin/policy-rc.d"
  chmod +x "$1/usr/sbin/policy-rc.d"
}

# shellcheck disable=SC2016  # the fields are apt's own, not the shell's
mirror() {
  apt-get indextargets --format '$(SITE) $(RELEASE)' | awk -v s="$suite" '$2 == s {print $1; exit}'
}

copy_package_sources() {
  local at=$1 file
  rm -f "$at/etc/apt/sources.list"
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources; do
    if [[ -f $file ]]; then cp "$file" "$at/$file"; fi
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

# publish_no_name HOME: this machine's own network is left alone
publish_no_name() {
  mkdir -p "$1/.config/Tarvinel"
  echo '{"hostname": ""}' > "$1/.config/Tarvinel/config.json"
}

# wait_for_port PID LOG LIMIT: prints the port that the program listens on
wait_for_port() {
  local pid=$1 log=$2 deadline=$((SECONDS + $3))
  while ((SECONDS < deadline)) && kill -0 "$pid" 2>/dev/null; do
    grep -oE 'listening on port [0-9]+' "$log" | grep -oE '[0-9]+' && return 0
    sleep 0.2
  done
  echo "the program did not listen" >&2
  return 1
}

# look_from_outside PORT: page and stream are there
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

# end_in_order PID: the program ends with status 0 when it is told to
end_in_order() {
  local status=0
  kill -TERM "$1"
  wait "$1" || status=$?
  echo "ended with status $status"
  return "$status"
}
