#!/bin/sh
# Runs a command in the network and mount namespaces that the caller made (unshare -n -m), with
# a system bus and an avahi-daemon of their own on a veth pair (10.77.0.1 on v0), publishing the
# service "Office Printer" of type _http._tcp on port 8080 with two TXT strings.
#
#   avahi-namespace.sh WORKDIR COMMAND...
#
# The command finds the bus through DBUS_SYSTEM_BUS_ADDRESS. Everything started here is stopped
# by its process id at the end.
set -eu
work=$1
shift
ip link set lo up
ip link add v0 type veth peer name v1
ip addr add 10.77.0.1/24 dev v0
ip link set v0 up
ip link set v1 up
cat >"$work/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=$work/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
CONF
printf '[server]\nuse-ipv4=yes\nuse-ipv6=no\nallow-interfaces=v0\n[wide-area]\nenable-wide-area=no\n[publish]\npublish-workstation=no\n' >"$work/avahi.conf"
# The daemon's pid file lives in /run/avahi-daemon: a folder of this namespace's own.
mkdir -p /run/avahi-daemon
mount -t tmpfs tmpfs /run/avahi-daemon
dbus-daemon --config-file="$work/bus.conf" --fork --print-pid >"$work/dbus.pid"
DBUS_SYSTEM_BUS_ADDRESS="unix:path=$work/bus"
export DBUS_SYSTEM_BUS_ADDRESS
avahi-daemon -f "$work/avahi.conf" --no-drop-root --no-chroot --no-rlimits -D
avahi-publish -s "Office Printer" _http._tcp 8080 "path=/print" "note=two" >"$work/publish.log" 2>&1 &
publisher=$!
tries=0
until grep -q Established "$work/publish.log" || [ $tries -ge 100 ]; do
    sleep 0.1
    tries=$((tries + 1))
done
status=0
"$@" || status=$?
kill "$publisher"
kill "$(cat /run/avahi-daemon/pid)"
kill "$(cat "$work/dbus.pid")"
exit $status
