#!/bin/sh
# Runs a command in the network and mount namespaces that the caller made (unshare -n -m), with
# the loopback up and a resolv.conf of its own bound over /etc/resolv.conf: name server
# 127.0.0.1, default domain example.test. The command serves port 53 itself.
#
#   resolver-namespace.sh WORKDIR COMMAND...
set -eu
work=$1
shift
ip link set lo up
printf 'nameserver 127.0.0.1\ndomain example.test\noptions attempts:1 timeout:2\n' >"$work/resolv.conf"
mount --bind "$work/resolv.conf" /etc/resolv.conf
exec "$@"
