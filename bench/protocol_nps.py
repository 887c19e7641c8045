#!/usr/bin/env python3
"""Nodes per second of an orvo binary as a front end sees them: the
benchmark positions searched to a fixed depth through one protocol, each
from a new game, the nodes taken from the engine's own output and the time
from this script's clock around each search.

    protocol_nps.py ORVO uci|xboard DEPTH [SOURCE] [--threads N]

Prints "PROTOCOL nodes N seconds S nps M". The positions are the benchmark
positions, read from the quoted FEN lines of SOURCE (default: the
repository's search/bench.cpp, the list "orvo bench" searches). With
--threads the engine searches with that many threads (UCI only: under
xboard the thread count comes from the ini file's n_threads), so that the seconds of two runs compare the
time to the same depth: the speed-up of the helper threads."""
import os
import re
import subprocess
import sys
import time


def read_until(proc, pred):
    lines = []
    while True:
        line = proc.stdout.readline()
        if not line:
            raise RuntimeError("orvo ended: " + "".join(lines[-5:]))
        lines.append(line)
        if pred(line):
            return lines


def uci(binary, fens, depth, threads):
    p = subprocess.Popen([binary], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1,
                         cwd="/tmp")
    send = lambda s: (p.stdin.write(s + "\n"), p.stdin.flush())
    send("uci")
    if threads:
        send("setoption name Threads value %d" % threads)
    send("isready")
    read_until(p, lambda l: l.startswith("readyok"))
    nodes, seconds = 0, 0.0
    for fen in fens:
        send("ucinewgame")
        send("position fen " + fen)
        send("isready")
        read_until(p, lambda l: l.startswith("readyok"))
        start = time.perf_counter()
        send("go depth %d" % depth)
        lines = read_until(p, lambda l: l.startswith("bestmove"))
        seconds += time.perf_counter() - start
        final = [l for l in lines if l.startswith("info time ")][-1]
        nodes += int(re.search(r"nodes (\d+)", final).group(1))
    send("quit")
    p.wait()
    return nodes, seconds


def xboard(binary, fens, depth, threads):
    p = subprocess.Popen([binary], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1,
                         cwd="/tmp")
    send = lambda s: (p.stdin.write(s + "\n"), p.stdin.flush())
    send("xboard")
    send("protover 2")
    read_until(p, lambda l: l.startswith("feature "))
    nodes, seconds = 0, 0.0
    for i, fen in enumerate(fens):
        send("new")
        send("post")
        send("setboard " + fen)  # a set-up clears the limits: the depth comes after it
        send("sd %d" % depth)
        send("ping %d" % i)
        read_until(p, lambda l: l.startswith("pong %d" % i))
        start = time.perf_counter()
        send("go")
        lines = read_until(p, lambda l: l.startswith("move ") or "{" in l)
        seconds += time.perf_counter() - start
        thinking = [l for l in lines if re.match(r"^ *\d+ +-?\d+ +\d+ +\d+ ", l)]
        if thinking:
            nodes += int(thinking[-1].split()[3])
    send("quit")
    p.wait()
    return nodes, seconds


def main():
    args, threads = sys.argv[1:], 0
    if "--threads" in args:
        i = args.index("--threads")
        threads = int(args[i + 1])
        del args[i:i + 2]
        if args[1] != "uci":
            sys.exit("--threads is set through UCI's Threads option: use uci")
    binary, protocol, depth = os.path.abspath(args[0]), args[1], int(args[2])
    here = os.path.dirname(os.path.abspath(__file__))
    source = args[3] if len(args) > 3 else os.path.join(here, "..", "search", "bench.cpp")
    fens = re.findall(r'^\s*"([^"]+/[^"]+)",\s*$', open(source).read(), re.M)
    nodes, seconds = (uci if protocol == "uci" else xboard)(binary, fens, depth, threads)
    print("%s nodes %d seconds %.3f nps %.0f" % (protocol, nodes, seconds, nodes / seconds if seconds else 0))


if __name__ == "__main__":
    main()
