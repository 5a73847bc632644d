#!/bin/sh
# Runs a command in the network and mount namespaces that the caller made (unshare -n -m), with
# the loopback up, a resolv.conf of its own bound over /etc/resolv.conf (name server 127.0.0.1,
# default domain example.test), and dnsmasq answering there for the service records below.
#
#   dns-namespace.sh WORKDIR COMMAND...
#
# dnsmasq logs its queries to WORKDIR/dnsmasq.log; it is stopped by its process id at the end.
set -eu
work=$1
shift
ip link set lo up
printf 'nameserver 127.0.0.1\ndomain example.test\noptions attempts:1 timeout:2\n' >"$work/resolv.conf"
mount --bind "$work/resolv.conf" /etc/resolv.conf
instance='Office._http._tcp.example.test'
dnsmasq --conf-file=/dev/null --no-resolv --no-hosts --listen-address=127.0.0.1 \
    --bind-interfaces --user=root --pid-file="$work/dnsmasq.pid" --log-queries \
    --log-facility="$work/dnsmasq.log" \
    --ptr-record="_http._tcp.example.test,$instance" \
    --srv-host="$instance,host.example.test,8080" \
    --txt-record="$instance,path=/print,note=two"
status=0
"$@" || status=$?
kill "$(cat "$work/dnsmasq.pid")"
exit $status
