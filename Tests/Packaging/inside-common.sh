# What the scripts that run in a clean root share. They say what `fail` does.

quietly() { "$@" >log 2>&1 || { cat log; fail "$* failed"; }; }

expect() {
  [ "$2" = "$3" ] || fail "$1: $2 instead of $3"
}

# Waits for a condition. Arguments: seconds, what is waited for, a command that tests it.
within() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || fail "$what: not in time"
    sleep 0.1
  done
}

# Plays the recording into service 1. The highest true peak that it has published is in `peak` then.
measure_through_service() {
  (umask 0117 && LoudDesk unit Front_Center.wav >unit.log 2>&1) || { cat unit.log; fail "the service does not measure"; }
  peak=$(sed -nE 's/^Maximum true peak +(-[0-9]+[.][0-9]+) dBTP$/\1/p' unit.log)
  [ -n "$peak" ] || { cat unit.log; fail "no figures"; }
}

# Whether the gate answers something. Arguments: its port, the path, what a line of the answer has.
gate_says() { curl -s --fail "http://127.0.0.1:$1$2" | grep -E "$3"; }

# The figure of the service, as a program and a monitoring system get it from the gate. Argument: its port.
expect_figure_over_http() {
  within 10 "the figure in /api/clusters" gate_says "$1" /api/clusters \
    "\"Name\":\"1-1\",.*\"State\":\"RUNNING\",.*\"MaxTruePeak\":$peak,"
  within 10 "the figure in /metrics" gate_says "$1" /metrics \
    "^loudcalc_max_true_peak_dbtp\{(.*,)?cluster=\"1\"[^}]*\} $peak\$"
}
