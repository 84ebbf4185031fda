# Common functions of the scripts that try the packages in clean roots. The scripts define `fail`.

# Lists every file of a root with its type, permissions, owners and contents, except files that
# package managers and the journal write.
files_of() {
  (cd "$1" && find . -xdev \( -path ./test -o -path ./proc -o -path ./sys -o -path ./dev -o -path ./var/lib/dpkg \
    -o -path ./var/log -o -path ./var/cache -o -path ./tmp -o -name '*-' \) -prune -o -printf '%y %m %u %g %p %l\n' | sort
   find etc usr/lib/systemd var/lib/systemd -xdev -type f ! -name '*-' -exec sha256sum {} + | sort)
}

quietly() { "$@" >log 2>&1 || { cat log; fail "$* failed"; }; }

expect() {
  [ "$2" = "$3" ] || fail "$1: $2 instead of $3"
}

# Waits for a condition. Arguments: seconds, a description, a command that tests the condition.
within() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || fail "$what: not in time"
    sleep 0.1
  done
}

# Plays the recording to service 1 and sets `peak` to the highest true peak that the service has
# published.
measure_through_service() {
  (umask 0117 && LoudDesk unit Front_Center.wav >unit.log 2>&1) || { cat unit.log; fail "the service does not measure"; }
  peak=$(sed -nE 's/^Maximum true peak +(-[0-9]+[.][0-9]+) dBTP$/\1/p' unit.log)
  [ -n "$peak" ] || { cat unit.log; fail "no figures"; }
}

# Whether the gate's answer contains a line. Arguments: its port, the path, a pattern for the line.
gate_says() { curl -s --fail "http://127.0.0.1:$1$2" | grep -E "$3"; }

# The gate reports the service's figure to programs and to monitoring systems. Argument: its port.
expect_figure_over_http() {
  within 10 "the figure in /api/clusters" gate_says "$1" /api/clusters \
    "\"Name\":\"1-1\",.*\"State\":\"RUNNING\",.*\"MaxTruePeak\":$peak,"
  within 10 "the figure in /metrics" gate_says "$1" /metrics \
    "^loudcalc_max_true_peak_dbtp\{(.*,)?cluster=\"1\"[^}]*\} $peak\$"
}

# The recorded seconds of service 1 as a table. The gate writes them once a minute and when it ends.
seconds_of_record() {
  LoudDesk log --cluster 1-1 --last 1h --series seconds.csv >/dev/null 2>log.err || { cat log.err; return 1; }
  grep '^1-1,' seconds.csv
}

# Whether more than that number of seconds are recorded.
more_seconds_than() { [ "$(seconds_of_record | wc -l)" -gt "$1" ]; }

# After the gate has ended, the record is a single file with the service's figure.
expect_closed_record() {
  expect "files of a record that is closed" "$(ls -A /var/lib/loudgate)" station.db
  expect "true peak in the record" "$(LoudDesk log --cluster 1-1 --last 1h --format json 2>/dev/null |
    sed -nE 's/.*"MaxTruePeak":(-?[0-9.]+).*/\1/p')" "$peak"
}
