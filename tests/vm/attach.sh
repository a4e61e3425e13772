#!/bin/busybox sh
# The virtual scanner over USB/IP, as users run it: `q750 virtual` serves it, the command that it prints attaches it to
# this machine's kernel, and q750 scans with it there. Runs in the virtual machine of tools/vm-check.
set -eu
export PATH=/guest:/bin
cd /tmp

# soon COMMAND...: tries it until it succeeds.
soon() {
  tries=0
  until "$@"; do
    tries=$((tries + 1))
    if [ $tries -gt 300 ]; then echo "attach: gave up waiting for: $*"; exit 1; fi
    sleep 0.1
  done
}
listens() { q750 list >/dev/null && usbip list --remote 127.0.0.1 2>/dev/null | grep -q 'Quenvar\|1-1:'; }
kernel_sees() { cat /sys/bus/usb/devices/*/product 2>/dev/null | grep -qx 'Quenvar Q750'; }
kernel_sees_none() { ! kernel_sees; }
lists_it() { q750 list | grep '^usb:'; }

ifconfig lo 127.0.0.1 up
q750 virtual >printed 2>&1 &
server=$!
soon listens
attach=$(sed -n 's/^  \(usbip .*attach .*\)/\1/p' printed)
echo "attach: $attach"
$attach
soon kernel_sees
soon lists_it

for mode in color gray lineart; do
  q750 scan --quiet --device usb --mode $mode --output wire.pnm
  q750 scan --quiet --device virtual --mode $mode --output direct.pnm
  cmp wire.pnm direct.pnm
  echo "attach: the same $mode page over the wire, $(wc -c <wire.pnm) bytes"
done

q750 doctor >examined 2>&1 || true  # it lacks an installation
grep 'is confined' examined
grep 'the test scan succeeded' examined

usbip detach --port 0
soon kernel_sees_none
kill $server
wait $server && status=0 || status=$?
echo "attach: the server ended with status $status"
[ $status = 0 ]
