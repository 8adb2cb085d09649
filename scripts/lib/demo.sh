# What the demos share: plain text into a pipe, what runs shown so that it can be pasted, a sandbox of their own.
# Sourced, with `top` set; makes `work` and removes it at the end.

if [ -t 1 ]; then bold=$'\e[1m' plain=$'\e[0m'; else bold='' plain=''; fi

work=$(mktemp -d)
sandbox=
finish() {
  [ -z "$sandbox" ] || kill "$sandbox" 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT

# The words as a shell reads them back.
quoted() {
  local word line=
  for word in "$@"; do
    [[ $word =~ ^[A-Za-z0-9_./:@%+=,-]+$ ]] || word="'${word//\'/\'\\\'\'}'"
    line+="$word "
  done
  printf '%s' "${line% }"
}
say() { printf '\n%s%s%s\n' "$bold" "$*" "$plain"; }
shown() { printf '\n%s$ %s%s\n' "$bold" "$(quoted "$@")" "$plain"; "$@"; }
# A line with redirections or quotes of its own, given as it is typed.
typed() { printf '\n%s$ %s%s\n' "$bold" "$1" "$plain"; eval "$1"; }

build() {
  "$top/scripts/setup" build
  if [ -t 1 ]; then "$top/scripts/build"; else echo "Building kestu, which takes some minutes…" && "$top/scripts/build" >/dev/null; fi
}

# start_sandbox [option…]: exports KESTU_API_URL, and finds kestu by its name.
start_sandbox() {
  local bin=${BIN:-$top/build/release/bin}
  "$bin/kestu-sandbox" --port 0 "$@" >"$work/sandbox.log" 2>&1 &
  sandbox=$!
  for _ in $(seq 100); do grep -q Listening "$work/sandbox.log" 2>/dev/null && break; sleep 0.1; done
  KESTU_API_URL=$(sed -n 's/^Listening on //p' "$work/sandbox.log")
  [ -n "$KESTU_API_URL" ] || { cat "$work/sandbox.log" >&2; exit 1; }
  export KESTU_API_URL PATH="$bin:$PATH"
}

# The person with the phone: approves what waits (signins, plans) as soon as it does.
approve() {
  for _ in $(seq 600); do
    curl -fsS -o /dev/null -X POST -H 'Content-Type: application/json' -d '{"approve":true}' "$KESTU_API_URL/sandbox/$1/next" 2>/dev/null && { echo "(approved in the kestu app)" >&2; return; }
    sleep 0.2
  done
}
