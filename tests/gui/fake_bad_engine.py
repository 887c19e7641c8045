#!/usr/bin/env python3
"""A deliberately misbehaving UCI engine, used to prove that
run_gui_games.sh notices when the engine under test goes wrong.

It relays everything to a real UCI engine (stockfish by default, or the
program named by $FAKE_INNER_ENGINE) and sabotages the conversation in
one way, chosen by the first argument or, when there is none, by
$FAKE_ENGINE_MODE (so the script itself can be handed to a front end
that starts engines without arguments):

  good          relay faithfully (a control case: must pass)
  illegal[:N]   on its N-th move (default 3) answer with the best move
                reversed (e2e4 -> e4e2), which is always illegal: the
                destination of a legal move never holds a piece of the
                side to move, so "moving" from there is impossible
  crash[:N]     on its N-th "go" kill itself with SIGSEGV
  exit[:N]      on its N-th "go" exit quietly with status 0
  timeloss[:N]  from its N-th "go" on, never answer (the clock runs out)
  mute          never answer "uci" at all
  badquit       play normally, but die with SIGABRT when told to quit
  stall[:N]     from its N-th "ucinewgame" (default 3) on, ignore
                everything, "isready" included: a deadlocked engine
  killadapter[:N]  on its N-th "go" kill the adapter process that started
                it (polyglot), as if the adapter itself had crashed

The count is per process, so with several games per engine process the
fault still happens in the first game it plays.
"""

import os
import signal
import subprocess
import sys
import threading


def find_ancestor(name):
    """Pid of the nearest ancestor process called `name`, or None."""
    pid = os.getppid()
    while pid > 1:
        try:
            with open("/proc/%d/stat" % pid) as f:
                stat = f.read()
        except OSError:
            return None
        comm = stat[stat.index("(") + 1:stat.rindex(")")]
        if comm == name:
            return pid
        pid = int(stat[stat.rindex(")") + 2:].split()[1])
    return None


def main():
    if len(sys.argv) > 1:
        choice = sys.argv[1]
    else:
        choice = os.environ.get("FAKE_ENGINE_MODE", "good")
    mode, _, count = choice.partition(":")
    nth = int(count) if count else 3
    if mode not in ("good", "illegal", "crash", "exit", "timeloss", "mute",
                    "badquit", "killadapter", "stall"):
        sys.stderr.write("fake_bad_engine: unknown mode %r\n" % mode)
        return 2

    inner = os.environ.get("FAKE_INNER_ENGINE", "/usr/games/stockfish")
    child = subprocess.Popen([inner], stdin=subprocess.PIPE,
                             stdout=subprocess.PIPE, text=True, bufsize=1)
    out_lock = threading.Lock()
    state = {"moves": 0, "gos": 0, "swallow": False}

    def say(line):
        with out_lock:
            sys.stdout.write(line + "\n")
            sys.stdout.flush()

    def pump_child():
        for raw in child.stdout:
            line = raw.rstrip("\n")
            if mode == "mute" and line.startswith(("uciok", "id ", "option")):
                continue
            if line.startswith("bestmove"):
                if state["swallow"]:
                    continue
                state["moves"] += 1
                parts = line.split()
                if mode == "illegal" and state["moves"] == nth and len(parts) > 1:
                    mv = parts[1]
                    if len(mv) >= 4 and mv != "0000":
                        bad = mv[2:4] + mv[0:2] + mv[4:]
                        say("bestmove " + bad)
                        continue
            say(line)

    reader = threading.Thread(target=pump_child, daemon=True)
    reader.start()

    def send(cmd):
        try:
            child.stdin.write(cmd + "\n")
            child.stdin.flush()
        except BrokenPipeError:
            pass

    newgames = 0
    for raw in sys.stdin:
        cmd = raw.strip()
        word = cmd.split(" ", 1)[0] if cmd else ""
        if word == "ucinewgame":
            newgames += 1
            if mode == "stall" and newgames >= nth:
                state["swallow"] = True
        if mode == "stall" and state["swallow"] and word != "quit":
            continue
        if word == "go":
            state["gos"] += 1
            if state["gos"] >= nth:
                if mode == "crash":
                    child.kill()
                    os.kill(os.getpid(), signal.SIGSEGV)
                if mode == "exit":
                    child.kill()
                    sys.stdout.flush()
                    os._exit(0)
                if mode == "timeloss":
                    state["swallow"] = True
                if mode == "killadapter":
                    adapter = find_ancestor("polyglot")
                    if adapter:
                        os.kill(adapter, signal.SIGKILL)
        if state["swallow"] and word in ("go", "stop", "ponderhit"):
            continue
        send(cmd)
        if word == "quit":
            if mode == "badquit":
                try:
                    child.wait(timeout=5)
                except subprocess.TimeoutExpired:
                    child.kill()
                os.kill(os.getpid(), signal.SIGABRT)
            break

    try:
        child.wait(timeout=5)
    except subprocess.TimeoutExpired:
        child.kill()
    return 0


if __name__ == "__main__":
    sys.exit(main())
