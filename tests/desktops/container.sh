# shellcheck shell=bash
# Functions for the scripts beside it: a Debian with a desktop and the program's package, booted as a container in
# which a presenter's session runs. To be sourced by a script that has set
#
#   desktop      the name, also of folders and units
#   packages     the packages of the desktop
#   session      the command that starts the session
#   variables    the environment that a login screen gives the session: NAME=VALUE ...
#   prepare ROOT a function that changes the root before it is booted
#
# and that then calls present "$@". Everything runs in namespaces of its own.

readonly version=${1:-13}
# shellcheck source=tests/clean/bare-debian.sh
. "$(dirname "${BASH_SOURCE[0]}")/../clean/bare-debian.sh"
use_debian "$version"
readonly desktops=$tree/build/desktops
readonly results=$desktops/$desktop-$version
readonly session_limit=1500  # seconds

# packages for the session and the script that drives it, on every desktop
readonly everywhere=(
  systemd-sysv libpam-systemd dbus-user-session iproute2 procps avahi-daemon
  at-spi2-core libgl1-mesa-dri xwayland fonts-dejavu-core
  pipewire wireplumber xdg-desktop-portal
  gir1.2-atspi-2.0 gir1.2-gtk-3.0 python3-gi python3-gi-cairo python3-numpy python3-pil
)

present() {
  if [[ ${2:-} != --inside ]]; then
    mkdir -p "$desktops"
    folder=$(mktemp -d "$desktops/run.XXXXXX")
    trap 'rm -rf --one-file-system "$folder"' EXIT
    in_own_namespaces "$0" "$version" --inside "$folder"
    exit
  fi
  prepare_base
  step "the program's package" make_package
  step "the desktop" install_desktop
  step "a session" run_session "$3"
}

# mount_layers FOLDER LOWER...: mounts an overlay, topmost lower layer first; the folder keeps the changes
mount_layers() {
  local at=$1 lower
  shift
  lower=$(IFS=:; echo "$*")
  mkdir -p "$at"/{upper,work,root} "$desktops/archives/partial"
  mount -t overlay overlay -o "lowerdir=$lower,upperdir=$at/upper,workdir=$at/work" "$at/root"
}

# mount_for_packages ROOT: mounts what apt needs
mount_for_packages() {
  mount_kernel_folders "$1"
  mount --bind "$desktops/archives" "$1/var/cache/apt/archives"
}

# in_root ROOT COMMAND: runs a shell command with the environment of a login
in_root() {
  chroot "$1" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb \
    DEBIAN_FRONTEND=noninteractive /bin/sh -ec "$2"
}

# logged LOG COMMAND...: writes the output to the log, and prints it if the command fails
logged() {
  local log=$1
  shift
  "$@" > "$log" 2>&1 < /dev/null || { tail -40 "$log"; return 1; }
}

# Builds the working tree, including uncommitted changes, unless only the tests have changed.
make_package() {
  local packages=$desktops/$suite-packages stamp
  stamp=$(stamp_of_sources)
  if [[ -f $packages/stamp && $(< "$packages/stamp") == "$stamp" ]]; then return; fi
  build_package
  echo "$stamp" > "$packages/stamp"
}

stamp_of_sources() {
  { git -C "$tree" ls-files --stage -- . ':!tests'; git -C "$tree" diff HEAD -- . ':!tests'; } | sha256sum
}

# The compiler's cache keeps compiled files.
build_package() {
  local at=$desktops/$suite-build root=$desktops/$suite-build/root
  mount_layers "$at" "$kept/base"
  mount_for_packages "$root"
  rm -rf "$root/root/tarvinel"
  git clone --quiet --no-hardlinks "$tree" "$root/root/tarvinel"
  git -C "$tree" diff --binary HEAD | git -C "$root/root/tarvinel" apply --allow-empty
  logged "$at/log" in_root "$root" "apt-get -qq update
    cd /root/tarvinel
    apt-get -qq -y --no-install-recommends install git
    tools/install-packages build packaging
    tools/package
    apt-get -qq -y --no-install-recommends install libdrm-dev
    cc -Wall -Wextra -Werror -O2 -shared -fPIC -I/usr/include/libdrm -o /root/render_node.so \
      tests/desktops/render_node.c"
  cp "$root/root/render_node.so" "$desktops/$suite-render_node.so"
  rm -rf "$desktops/$suite-packages"
  cp -r "$root/root/tarvinel/build/packages" "$desktops/$suite-packages"
  umount --recursive "$root"
}

install_desktop() {
  local at=$desktops/$desktop-$version-root root=$desktops/$desktop-$version-root/root
  mount_layers "$at" "$kept/base"
  mount_for_packages "$root"
  rm -rf "$root/packages"
  cp -r "$desktops/$suite-packages" "$root/packages"
  logged "$at/log" in_root "$root" "apt-get -qq update
    apt-get -qq -y --no-install-recommends install ${everywhere[*]} ${packages[*]}
    apt-get -qq -y --no-install-recommends --reinstall install ./packages/tarvinel_*.deb qt6-wayland wl-clipboard
    id sam > /dev/null 2>&1 || useradd --uid 1000 --create-home --shell /bin/bash sam"
  umount --recursive "$root"
}

run_session() {
  local at=$1
  mount_layers "$at" "$desktops/$desktop-$version-root/upper" "$kept/base"
  rm -rf "$results"
  mkdir -p "$results"
  chmod 777 "$results"
  write_units "$at/root"
  prepare "$at/root"
  boot "$at/root"
}

write_units() {
  local units=$1/etc/systemd/system
  {
    printf '[Unit]\nAfter=user@1000.service dbus.service\nWants=user@1000.service\n[Service]\n'
    printf 'User=sam\nPAMName=login\nWorkingDirectory=/home/sam\n'
    printf 'Environment=%s\n' XDG_SESSION_TYPE=wayland XDG_SESSION_CLASS=user "${variables[@]}"
    printf 'ExecStart=%s\n' "$session"
  } > "$units/session.service"
  {
    printf '[Unit]\nWants=session.service\nAfter=session.service\n[Service]\n'
    printf 'Type=oneshot\nUser=sam\nWorkingDirectory=/home/sam\n'
    printf 'Environment=%s\n' XDG_RUNTIME_DIR=/run/user/1000 PYTHONDONTWRITEBYTECODE=1 \
      DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/1000/bus PYTHONUNBUFFERED=1
    printf 'ExecStartPre=+%s\n' "/tree/tests/desktops/network.sh"
    printf 'ExecStart=%s\n' "/usr/bin/python3 /tree/tests/desktops/$desktop.py /results"
    printf 'StandardOutput=file:/results/log\nStandardError=inherit\n'
    printf 'ExecStopPost=+%s\n' '/bin/sh -c "journalctl --no-pager > /results/journal"' \
      'systemctl poweroff --force'
  } > "$units/presenter.service"
  ln -s ../presenter.service "$units/multi-user.target.wants/"
}

boot() {
  local log=$results/log
  mount -t proc proc /proc  # of these namespaces, where the container's program looks for its own processes
  mkdir -p /run/systemd
  mount -t tmpfs run /run/systemd  # where it leaves folders
  : > "$log"
  tail --follow --lines=+1 "$log" &
  local follower=$!
  SYSTEMD_NSPAWN_UNIFIED_HIERARCHY=1 timeout "$session_limit" systemd-nspawn --quiet --directory "$1" \
    --boot --private-network --register=no --keep-unit --console=pipe \
    --bind-ro="$tree:/tree" --bind="$results:/results" > "$results/console" 2>&1 < /dev/null ||
    tail "$results/console"
  kill "$follower"
  tail -1 "$log" | grep -qE '^[0-9]+ passed, 0 failed$'
}
