#!/usr/bin/env python3
"""Seed corpora for Orvo's fuzz targets, made from the shared test data and
from the inputs of Orvo's own tests. Nothing here is kept in the repository:
the seeds are written into the build folder each time.

usage: make_seeds.py OUT_DIR DATA_DIR REPO_DIR ORVO_BINARY

OUT_DIR receives one folder per target (fen, movetext, ini, epd, pgn, book,
uci, xboard). DATA_DIR is the shared data folder (perft/, epd/, pgn/); a
missing folder or file gives fewer seeds, not an error. ORVO_BINARY is used
to make games (self-play at a small depth, for move lists in coordinates)
and books (with its own "create"); without it those seeds are left out.
"""
import hashlib
import os
import re
import subprocess
import sys
import tempfile

START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
FEN_RE = re.compile(r"[pnbrqkPNBRQK1-8]{1,8}(?:/[pnbrqkPNBRQK1-8]{1,8}){7} [wb] [KQkq-]{1,4} [a-h1-8-]{1,2}")
# Largest seed per target, matching the -max_len the runner gives it.
MAX_LEN = {"fen": 256, "movetext": 1024, "ini": 2048, "epd": 2048, "pgn": 16384,
           "book": 16384, "uci": 4096, "xboard": 4096}
PER_SOURCE = 60  # seeds taken from one large source at the most


def read(path):
    try:
        with open(path, "rb") as f:
            return f.read().decode("utf-8", "replace")
    except OSError:
        return ""


def spread(items, n=PER_SOURCE):
    """At most n items, taken evenly from the whole list."""
    if len(items) <= n:
        return items
    step = len(items) / n
    return [items[int(i * step)] for i in range(n)]


class Seeds:
    def __init__(self, out):
        self.out = out
        self.count = {}

    def add(self, target, data):
        if isinstance(data, str):
            data = data.encode("utf-8", "replace")
        data = data[:MAX_LEN[target]]
        if not data:
            return
        folder = os.path.join(self.out, target)
        os.makedirs(folder, exist_ok=True)
        name = hashlib.sha1(data).hexdigest()[:16]
        with open(os.path.join(folder, name), "wb") as f:
            f.write(data)
        self.count[target] = self.count.get(target, 0) + 1


def test_literals(repo, subdir):
    """The C++ string literals of the tests in one folder, unescaped."""
    found = []
    folder = os.path.join(repo, "tests", subdir)
    for name in sorted(os.listdir(folder)) if os.path.isdir(folder) else []:
        if not name.endswith(".cpp"):
            continue
        text = read(os.path.join(folder, name))
        for m in re.finditer(r'"((?:[^"\\\n]|\\.)*)"', text):
            try:
                found.append(m.group(1).encode("latin-1", "replace").decode("unicode_escape"))
            except (UnicodeDecodeError, ValueError):
                pass
    return found


def epd_records(data):
    records = []
    for name in ["wac.epd", "bratko-kopec.epd", "ecm.epd", "kaufman.epd"]:
        lines = [l for l in read(os.path.join(data, "epd", name)).splitlines() if l.strip()]
        records.append((name, lines))
    return records


def perft_fens(data):
    fens = []
    for name in ["perftsuite.epd", "perft-cpw6.epd"]:
        for line in read(os.path.join(data, "perft", name)).splitlines():
            if line.strip():
                fens.append(line.split(";")[0].strip())
    return fens


def pgn_games(data):
    text = read(os.path.join(data, "pgn", "masters-korchnoi-carlsen.pgn"))
    return [g for g in re.split(r"\n(?=\[Event )", text) if g.strip()]


def san_moves(game):
    body = "\n".join(l for l in game.splitlines() if not l.startswith("["))
    body = re.sub(r"\{[^}]*\}", " ", body)
    return [t for t in body.split() if not re.match(r"^\d+\.+$|^(1-0|0-1|1/2-1/2|\*)$", t)]


def orvo_output(orvo, text, cwd, timeout=120):
    try:
        r = subprocess.run([orvo], input=text.encode(), cwd=cwd, capture_output=True, timeout=timeout)
        return r.stdout.decode("utf-8", "replace")
    except (OSError, subprocess.TimeoutExpired):
        return ""


def self_play(orvo, workdir, openings):
    """Games Orvo plays against itself two plies deep, after each opening
    (coordinate moves): lists of coordinate moves."""
    games = []
    for opening in openings:
        text = "xboard\nnew\nforce\n" + "".join("usermove %s\n" % m for m in opening)
        text += "sd 2\n" + "go\n" * 80 + "quit\n"
        out = orvo_output(orvo, text, workdir)
        games.append(opening + re.findall(r"^move (\S+)$", out, re.MULTILINE))
    return games


def make_books(orvo, workdir, games):
    """Books written by Orvo's own "create" from a few games at a time."""
    books = []
    # Games with both ratings: an empty rating tag counts as 0 and keeps
    # the game out of the book.
    games = [g for g in games if re.search(r'WhiteElo "\d{4}"', g) and re.search(r'BlackElo "\d{4}"', g)]
    games = spread(games, 48)
    for i in range(0, len(games), 6):
        pgn = os.path.join(workdir, "games%d.pgn" % i)
        book = os.path.join(workdir, "book%d.bin" % i)
        with open(pgn, "w") as f:
            f.write("\n".join(games[i:i + 6]))
        with open(os.path.join(workdir, "Orvo214.ini"), "w") as f:
            f.write("book_path=%s\n" % book)
        orvo_output(orvo, "create\n%s\n%d\n1000\n1\n" % (pgn, 4 + i % 8), workdir)
        try:
            with open(book, "rb") as f:
                books.append(f.read())
        except OSError:
            pass
    return books


UCI_TRANSCRIPTS = [
    "uci\nisready\nucinewgame\nposition startpos\ngo depth 2\nquit\n",
    "uci\nsetoption name Hash value 16\nsetoption name Ponder value true\nisready\n"
    "position startpos moves e2e4 e7e5 g1f3\ngo wtime 2000 btime 2000 winc 20 binc 20\n"
    "position startpos moves e2e4 e7e5 g1f3 b8c6\ngo ponder wtime 2000 btime 2000\nponderhit\n",
    "uci\nisready\nposition startpos moves e2e4\ngo infinite\nisready\nstop\nstop\n",
    "uci\nposition startpos moves e2e4 c7c5\ngo ponder movetime 50\nstop\nponderhit\n",
    "uci\nisready\ngo movetime 20\ngo mate 2\ngo depth 1 nodes 100 searchmoves e2e4\n",
    "uci\nposition fen 8/8/8/8/8/8/6k1/4K2R w K - 0 1 moves e1g1\ngo depth 3\n",
    "uci\nposition fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1\ngo depth 2\n",
    "uci\ndebug on\nregister later\nsetoption name OwnBook value false\nsetoption name BookFile value x.bin\n"
    "ucinewgame\nisready\ngo btime 100 wtime 100 movestogo 1\n",
    "uci\ngo wtime 1000 btime 1000 movestogo 40\nquit\n",
]

XBOARD_TRANSCRIPTS = [
    "xboard\nprotover 2\naccepted setboard\nrejected analyze\nnew\nrandom\nlevel 0 0:02 0.02\npost\nhard\n"
    "time 200\notim 200\nusermove e2e4\ntime 190\notim 195\nusermove d2d4\n?\nforce\nresult 1-0 {x}\n",
    "xboard\nnew\nforce\nusermove e2e4\nusermove e7e5\ngo\nforce\nundo\nundo\nfen\nd\neval\nquit\n",
    "xboard\nnew\nhard\nlevel 40 5 0\ntime 30000\notim 30000\nusermove e2e4\nusermove g1f3\nusermove f1c4\n"
    "easy\nusermove d2d4\nnew\n",
    "xboard\nnew\nanalyze\nusermove e2e4\nundo\n.\nsetboard 8/8/8/4k3/8/8/8/4K2R w K - 0 1\nexit\n",
    "xboard\nsetboard r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1\nsd 3\ngo\nusermove e8c8\nperft 2\n",
    "xboard\nnew\nst 1\nsd 4\ngo\n?\nping 7\nnopost\ngo\nwhite\nblack\ncomputer\nundo\n",
    "xboard\nsd 1\ntest 1\ntest 2\n",
    "xboard\nnew\nhard\nsd 2\nusermove e2e4\nusermove a2a3\nquit\n",
    "xboard\nnew\nforce\nusermove e2e4 usermove e7e5\nforce usermove g1f3\nsb 8/P7/8/8/8/8/8/k1K5 w - -\nusermove a7a8q\n",
]

INI_FILES = [
    "hash_size=64\negbb_path=/opt/egbb/\nbook_path=/opt/orvo/orvo.bin\n",
    "# settings\nhash_size 128\n#hash_size=16\n egbb_path=x\nbook_path= \n",
    "hash_size=4\r\nhash_size=1024\r\nbook_path=C:\\orvo\\book.bin\r\n",
    "book_path=" + "b" * 200 + "\negbb_path=\t\tpath with blanks\nhash_size=-5\n",
]


def main():
    out, data, repo, orvo = sys.argv[1:5]
    orvo = os.path.abspath(orvo)
    seeds = Seeds(out)
    tmp = tempfile.mkdtemp(prefix="orvo-seeds.")
    have_orvo = os.access(orvo, os.X_OK)

    epd = epd_records(data)
    perft = perft_fens(data)
    games = pgn_games(data)
    test_fens = sorted({m.group(0) for subdir in ["position", "protocol", "search", "eval", "tools", "book"]
                        for lit in test_literals(repo, subdir) for m in FEN_RE.finditer(lit)})

    # FEN set-up.
    for fen in [START] + spread(perft) + spread(test_fens, 2 * PER_SOURCE):
        seeds.add("fen", fen)
    for name, lines in epd:
        for line in spread(lines, 20):
            seeds.add("fen", " ".join(line.split()[:4]))

    # Move text: a FEN line, then moves (SAN from the suites and games).
    for name, lines in epd:
        for line in spread(lines, 20):
            fields = line.split()
            ops = " ".join(fields[4:]).split(";")[0].split()
            seeds.add("movetext", " ".join(fields[:4]) + "\n" + "\n".join(ops[1:]) + "\n")
    for game in spread(games, 40):
        seeds.add("movetext", "\n" + "\n".join(san_moves(game)[:60]) + "\n")
    seeds.add("movetext", "\ne2e4\ne7e5\ng1f3\nb8c6\nf1c4\ng8f6\ne1g1\nO-O\n0-0\no-o\n")
    seeds.add("movetext", "8/P6k/8/8/8/8/8/K7 w - - 0 1\na7a8n\na8=Q\ne7e8x\nKa2\nKb1-a2\n")

    # The settings file.
    for text in INI_FILES:
        seeds.add("ini", text)
    for lit in test_literals(repo, "tools"):
        if re.search(r"hash_size|egbb_path|book_path", lit):
            seeds.add("ini", lit)

    # EPD suites, a few records at a time.
    for name, lines in epd:
        for i in range(0, min(len(lines), 60), 6):
            seeds.add("epd", "\n".join(lines[i:i + 6]) + "\n")
    for lit in test_literals(repo, "tools"):
        if re.search(r"\b(bm|am) ", lit):
            seeds.add("epd", lit)

    # PGN: a settings byte, then a few games.
    # (The early games have empty rating tags, which keep them out.)
    chosen = spread(games, 240)
    for i, start in enumerate(range(0, len(chosen), 4)):
        seeds.add("pgn", bytes([i % 16]) + "\n".join(chosen[start:start + 4]).encode())
    for lit in test_literals(repo, "book"):
        if "[" in lit and ("1." in lit or "Result" in lit):
            seeds.add("pgn", b"\x01" + lit.encode())

    # Protocols: a poll-interval byte, then the lines.
    protocol_seeds = {"uci": list(UCI_TRANSCRIPTS), "xboard": list(XBOARD_TRANSCRIPTS)}
    for lit in test_literals(repo, "protocol") + test_literals(repo, "book") + test_literals(repo, "engine"):
        if lit.startswith("xboard\n"):
            protocol_seeds["xboard"].append(lit)
    uci_lines = [lit for lit in test_literals(repo, "protocol")
                 if re.match(r"^(position|go|setoption|isready|ucinewgame|stop|ponderhit)\b", lit)]
    for i in range(0, len(uci_lines), 8):
        protocol_seeds["uci"].append("uci\nisready\n" + "\n".join(uci_lines[i:i + 8]) + "\n")
    for name, lines in epd:
        for line in spread(lines, 6):
            fen = " ".join(line.split()[:4])
            protocol_seeds["uci"].append("uci\nposition fen %s 0 1\ngo depth 2\n" % fen)
            protocol_seeds["xboard"].append("xboard\nsetboard %s 0 1\nsd 2\ngo\nanalyze\nexit\n" % fen)

    if have_orvo:
        openings = [[], ["e2e4"], ["d2d4"], ["c2c4", "e7e5"], ["g1f3", "d7d5"], ["e2e4", "c7c5", "g1f3"],
                    ["b1c3"], ["f2f4", "e7e5", "f4e5"]]
        for k, moves in enumerate(self_play(orvo, tmp, openings)):
            if not moves:
                continue
            protocol_seeds["uci"].append("uci\nisready\nposition startpos moves %s\ngo depth 2\n" % " ".join(moves))
            cut = len(moves) // 2
            protocol_seeds["uci"].append(
                "uci\nposition startpos moves %s\ngo ponder wtime 500 btime 500\nponderhit\n"
                "position startpos moves %s\ngo wtime 500 btime 500\n" % (" ".join(moves[:cut]), " ".join(moves)))
            game = "xboard\nnew\nforce\n" + "".join("usermove %s\n" % m for m in moves[:cut])
            protocol_seeds["xboard"].append(game + "sd 2\ngo\n" + "".join(
                "usermove %s\n" % m for m in moves[cut + 1::2]))
            protocol_seeds["xboard"].append(
                "xboard\nnew\nhard\nlevel 0 0:02 0\n" + "".join(
                    "time 150\notim 150\nusermove %s\n" % m for m in moves[1::2][:20]))
        for book in make_books(orvo, tmp, games):
            seeds.add("book", book)
    for proto, texts in protocol_seeds.items():
        for i, text in enumerate(texts):
            seeds.add(proto, bytes([i % 4]) + text.encode("utf-8", "replace"))

    subprocess.run(["rm", "-rf", tmp])
    print("seeds: " + ", ".join("%s %d" % (t, seeds.count.get(t, 0)) for t in MAX_LEN))


if __name__ == "__main__":
    main()
