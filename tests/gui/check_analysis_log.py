#!/usr/bin/env python3
"""Checks an xboard debug log of an "Analyze File" run (run_gui_analysis.sh).

usage: check_analysis_log.py [--exit-unanswered] XBOARD_DEBUG ENGINE [IGNORED]

Every position the engine was given while it analysed must get thinking
lines; the first move of each thinking line must be legal in the position
the engine was analysing (or, for a line sent while a move was on its way,
the position before); "exit" must be answered with "Analyze stopped". The
referee is a second engine process in force mode: a move it cannot play
makes it say "play move failed.". With --exit-unanswered (the UCI side
through polyglot, which says nothing to "exit") only "exit" must be sent.
"""
import re
import subprocess
import sys

THINKING = re.compile(r"^\s*(\d+)\s+([-+]?\d+)\s+(\d+)\s+(\d+)\s+(\S+)")


class Referee:
    def __init__(self, engine):
        self.p = subprocess.Popen([engine], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, text=True, bufsize=1)
        self.pings = 0
        self.cache = {}
        self.send("xboard")

    def send(self, line):
        self.p.stdin.write(line + "\n")
        self.p.stdin.flush()

    def legal(self, moves, move):
        key = (tuple(moves), move)
        if key not in self.cache:
            self.send("new")
            self.send("force")
            for m in moves + [move]:
                self.send("usermove " + m)
            self.pings += 1
            self.send("ping %d" % self.pings)
            ok = True
            for line in self.p.stdout:
                line = line.rstrip("\n")
                if line in ("play move failed.", "play: illegal promotion"):
                    ok = False
                if line == "pong %d" % self.pings:
                    break
            self.cache[key] = ok
        return self.cache[key]

    def close(self):
        self.send("quit")
        self.p.wait(timeout=10)


def main():
    args = sys.argv[1:]
    exit_answered = "--exit-unanswered" not in args
    args = [a for a in args if a != "--exit-unanswered"]
    log_path, engine = args[0], args[1]
    try:
        lines = open(log_path, encoding="utf-8", errors="replace").read().splitlines()
    except OSError:
        print("FAIL: no xboard debug log")
        return 1
    moves = []
    analysing = False
    pending_usermove = False
    segments = []   # (moves, [first moves of thinking lines])
    stopped = False
    exit_sent = False
    problems = []
    for raw in lines:
        m = re.match(r"^\d+ ([<>])first\s*: ?(.*)$", raw)
        if not m:
            if re.search(r"first chess program.*exited|exited unexpectedly", raw):
                problems.append("engine died: " + raw)
            continue
        way, text = m.groups()
        # xboard logs "usermove " and the move as two writes, often on one
        # line: "882 >first : usermove 882 >first : e2e4".
        joined = re.match(r"^usermove \d+ >first\s*: ?(\S+)", text)
        if way == ">" and joined:
            text = "usermove " + joined.group(1)
        if way == ">":
            if pending_usermove:
                moves.append(text.strip())
                pending_usermove = False
                if analysing:
                    segments.append((list(moves), []))
                continue
            word = text.strip().split(" ")
            if word[0] == "usermove":
                if len(word) > 1:
                    moves.append(word[1])
                    if analysing:
                        segments.append((list(moves), []))
                else:
                    pending_usermove = True
            elif word[0] == "analyze":
                analysing = True
                segments.append((list(moves), []))
            elif word[0] == "exit":
                exit_sent = True
                analysing = False
            elif word[0] in ("new", "setboard", "undo") and analysing:
                problems.append("unexpected command during the analysis: " + text)
        else:
            if text.strip() == "Analyze stopped":
                stopped = True
            t = THINKING.match(text)
            if t and segments and not exit_sent:
                segments[-1][1].append(t.group(5))
    referee = Referee(engine)
    analysed = 0
    for i, (position, firsts) in enumerate(segments):
        if not firsts:
            problems.append("no thinking line after %s" % (" ".join(position) or "the start"))
            continue
        previous = segments[i - 1][0] if i > 0 else None
        legal_here = 0
        for first in firsts:
            if referee.legal(position, first):
                legal_here += 1
            elif previous is None or not referee.legal(previous, first):
                problems.append("thinking line starting %s is illegal after %s" % (first, " ".join(position)))
        if legal_here == 0:
            problems.append("no thinking line for the position after %s" % " ".join(position))
        else:
            analysed += 1
    referee.close()
    if not exit_sent:
        problems.append("xboard never sent exit (the game was not analysed to its end)")
    elif exit_answered and not stopped:
        problems.append("\"exit\" was not answered with \"Analyze stopped\"")
    total = sum(len(f) for _, f in segments)
    print("analysis under xboard: %d positions analysed of %d, %d thinking lines, %d moves"
          % (analysed, len(segments), total, len(moves)))
    for p in problems[:20]:
        print("    FAIL: " + p)
    if len(problems) > 20:
        print("    ... and %d more" % (len(problems) - 20))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
