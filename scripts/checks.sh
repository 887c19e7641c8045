# The pass/fail tally of the installation checks (tests/install/*.sh):
# source it after setting me=; "check DESCRIPTION COMMAND..." runs the
# command quietly and counts it, "report" prints "N passed, N failed" and
# returns 0 only when nothing failed.
passed=0 failed=0
check() {  # check DESCRIPTION COMMAND...
  local what=$1
  shift
  if "$@" >/dev/null 2>&1; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "$me: FAIL: $what"
  fi
}
report() {
  echo "$passed passed, $failed failed"
  [ "$failed" -eq 0 ]
}
