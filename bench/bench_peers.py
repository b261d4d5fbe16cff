#!/usr/bin/python3
"""Side by side on one black-and-white line drawing: quernline-batch, potrace and
scikit-image's skeletonize, at 700 x 557, 1500 x 1500 and 5000 x 5000; then an
A4 page at 300 dpi scanned to JPEG (grey, light noise and blur) against
djpeg -grayscale | potrace; then 24 pictures of 700 x 557 and of 1500 x 1500
with quernline-batch -j 1, -j 2, xargs -P 2 and two -j 1 runs of 12 at once
(what the machine's two cores give this work without any sharing in one process).

Machine speed drifts a lot between runs, so the tools run in alternation and
only the ratios of one run mean much. Run by `make bench-peers`.

Environment:
  QUERN_BATCH        the quernline-batch to measure (default build/quernline-batch)
  QUERN_BATCH_BEFORE an earlier build to measure in the same alternation, for
                     before/after ratios that one machine's drift does not skew
  QUERN_MAKE_ASSETS  the drawing generator (default build/tools/make_assets)
  PEERS_RUNS         alternating runs per tool and size (default 5, at least 5 counts)
  PEERS_SIZES        sizes to run, e.g. "700x557,1500x1500" (default all three)
  PEERS_FORMAT       our picture format, bmp or gif (default bmp)
  PEERS_SCAN         0 leaves out the A4 scan (default 1)
  PEERS_REPORT_PAIRS adjacent pairs of -j 2 runs without and with --report that
                     what the page adds is taken from (default 101): a batch's
                     time drifts by more than the page's few per cent, so a
                     few pairs say little
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

PYTHON = "/usr/bin/python3"  # Debian's numpy, PIL and skimage load only here
SIZES = [(700, 557), (1500, 1500), (5000, 5000)]
LARGE_FROM = 5000 * 5000  # pictures this big run with --large
MANY_COUNT = 24
# The earlier build, when given, is measured on the first size only.
MANY_SIZES = [(700, 557), (1500, 1500)]
A4_SIZE = (2480, 3508)  # 300 dpi


class Missing(Exception):
    pass


class Worker:
    def __init__(self):
        helper = os.path.join(os.path.dirname(os.path.abspath(__file__)), "peers_worker.py")
        self.proc = subprocess.Popen([PYTHON, helper],
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def ask(self, *words):
        self.proc.stdin.write("\t".join(words) + "\n")
        self.proc.stdin.flush()
        reply = self.proc.stdout.readline().split()
        if not reply or reply[0] == "error":
            raise RuntimeError("the skeletonize worker failed: " + " ".join(reply))
        return reply

    def close(self):
        self.proc.stdin.close()
        self.proc.wait()


def check_tools(batch, make_assets):
    for path, what in ((batch, "QUERN_BATCH"), (make_assets, "QUERN_MAKE_ASSETS")):
        if not os.access(path, os.X_OK):
            raise Missing("%s is not an executable (%s); run `make build` or set %s" % (path, what, what))
    for tool, package in (("potrace", "potrace"), ("djpeg", "libjpeg-turbo-progs"), ("xargs", "findutils"), ("/usr/bin/time", "time")):
        if not shutil.which(tool):
            raise Missing("%s is not installed (Debian package %s)" % (tool, package))
    probe = "import numpy, PIL, skimage.morphology"
    if subprocess.run([PYTHON, "-c", probe], capture_output=True).returncode != 0:
        raise Missing("%s cannot import numpy, PIL and skimage (Debian packages python3-numpy, "
                      "python3-pil, python3-skimage)" % PYTHON)


def run_timed(argv, log):
    """Seconds from spawn to exit, the exit status and the child's CPU seconds
    (user + system), which drift less than wall time on a busy machine."""
    with open(log, "ab") as err:
        start = time.perf_counter()
        proc = subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=err)
        _, raw, usage = os.wait4(proc.pid, 0)
        seconds = time.perf_counter() - start
        proc.returncode = os.waitstatus_to_exitcode(raw)
        return seconds, proc.returncode, usage.ru_utime + usage.ru_stime


def run_wall(argv, log):
    """Seconds from spawn to exit, and the exit status."""
    return run_timed(argv, log)[:2]


def peak_kib(argv, tmp):
    """Peak resident set of one run, through GNU time: a process started from a
    small one, since a child's peak counts what its parent held before exec."""
    out = os.path.join(tmp, "time.out")
    status = subprocess.run(["/usr/bin/time", "-f", "%M", "-o", out] + argv, stdin=subprocess.DEVNULL,
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode
    with open(out) as f:
        return int(f.read().split()[-1]), status


def median_ms(seconds):
    return statistics.median(seconds) * 1000.0 if seconds else None


def fmt(value, pattern="%.0f", suffix=""):
    return "n/a" if value is None else (pattern % value) + suffix


def last_message(log):
    try:
        with open(log, errors="replace") as f:
            lines = [l.strip() for l in f if l.strip()]
        return lines[-1] if lines else ""
    except OSError:
        return ""


def before_argv(before, argv):
    """The same run with the earlier build, writing beside ours."""
    if not before or not argv:
        return None
    return [before] + [a[:-4] + "-before.dxf" if a.endswith(".dxf") else a for a in argv[1:]]


def before_line(label, ours, before):
    ratio = ours / before if ours and before else None
    return "%-10s ours %s, before %s, ours/before %s" % (label, fmt(ours, "%.1f", " ms"), fmt(before, "%.1f", " ms"),
                                                         fmt(ratio, "%.3f", " x"))


def peers(batch, make_assets, tmp, work, runs, sizes, fmt_ext, help_text, before=None):
    has_large = "--large" in help_text
    start_kib, _ = peak_kib([batch, "--help"], tmp)
    start_ms = median_ms([run_wall([batch, "--help"], os.devnull)[0] for _ in range(runs)])
    rows = []
    for width, height in sizes:
        key = "%dx%d" % (width, height)
        print("measuring %d x %d ..." % (width, height), flush=True)
        grey = os.path.join(tmp, key + "-grey.png")
        base = os.path.join(tmp, key)
        subprocess.run([make_assets, "--drawing", str(width), str(height), grey], check=True)
        work.ask("prepare", key, grey, base, fmt_ext)
        picture, pbm = base + "." + fmt_ext, base + ".pbm"
        ours = [batch, picture, os.path.join(tmp, key + "-ours.dxf")]
        large = width * height >= LARGE_FROM
        row = {"size": key, "note": ""}
        if large:
            if has_large:
                ours.insert(1, "--large")
            else:
                row["note"] = "--large not offered"
                ours = None
        theirs = ["potrace", "-b", "dxf", "-o", os.path.join(tmp, key + "-potrace.dxf"), pbm]
        log = os.path.join(tmp, key + "-ours.log")
        t_ours, t_potrace, t_skel, cpu_ours, cpu_potrace = [], [], [], [], []
        earlier, t_before = before_argv(before, ours), []
        # One untimed round first: binaries and pictures in the page cache.
        for round_no in range(runs + 1):
            if earlier:
                seconds, status, _ = run_timed(earlier, os.devnull)
                if status != 0:
                    row["note"] = "before exit %d" % status
                    earlier, t_before = None, []
                elif round_no:
                    t_before.append(seconds)
            if ours:
                seconds, status, cpu = run_timed(ours, log)
                if status != 0:
                    row["note"] = "ours exit %d: %s" % (status, last_message(log))
                    ours, t_ours, cpu_ours = None, [], []
                elif round_no:
                    t_ours.append(seconds)
                    cpu_ours.append(cpu)
            seconds, status, cpu = run_timed(theirs, os.devnull)
            if status != 0:
                raise RuntimeError("potrace failed on " + pbm)
            if round_no:
                t_potrace.append(seconds)
                cpu_potrace.append(cpu)
            seconds = float(work.ask("skeletonize", key)[0])
            if round_no:
                t_skel.append(seconds)
        row["ours"], row["potrace"], row["skel"] = median_ms(t_ours), median_ms(t_potrace), median_ms(t_skel)
        row["before"] = median_ms(t_before)
        row["cpu_ours"], row["cpu_potrace"] = median_ms(cpu_ours), median_ms(cpu_potrace)
        row["peak"] = row["bpp"] = None
        if ours:
            kib, status = peak_kib(ours, tmp)
            if status == 0:
                row["peak"] = kib / 1024.0
                row["bpp"] = (kib - start_kib) * 1024.0 / (width * height)
        row["potrace_peak"] = peak_kib(theirs, tmp)[0] / 1024.0
        rows.append(row)

    print("Whole process vs potrace -b dxf (whole process) vs skeletonize alone (in process);")
    print("medians of %d alternating runs; our picture: %s, potrace's: PBM, the same mask." % (runs, fmt_ext.upper()))
    print("Bytes per pixel above start = (our peak RSS - peak RSS of `quernline-batch --help`, %.1f MiB) / pixels."
          % (start_kib / 1024.0))
    print("Our start-up alone (`quernline-batch --help`, spawn to exit): %.0f ms." % start_ms)
    print()
    head = "%-10s %9s %9s %9s %10s %8s %9s %10s %10s" % ("picture", "ours ms", "potrace", "skelet.", "our peak",
                                                           "B/pixel", "potrace", "ours/", "ours/")
    print(head)
    print("%-10s %9s %9s %9s %10s %8s %9s %10s %10s" % ("", "", "ms", "ms", "MiB", "above", "peak MiB", "potrace",
                                                        "skelet."))
    for r in rows:
        ratio_p = r["ours"] / r["potrace"] if r["ours"] else None
        ratio_s = r["ours"] / r["skel"] if r["ours"] else None
        print("%-10s %9s %9s %9s %10s %8s %9s %10s %10s" % (
            r["size"], fmt(r["ours"]), fmt(r["potrace"], "%.1f"), fmt(r["skel"], "%.1f"), fmt(r["peak"], "%.1f"),
            fmt(r["bpp"], "%.1f"), fmt(r["potrace_peak"], "%.1f"), fmt(ratio_p, "%.2f", " x"),
            fmt(ratio_s, "%.2f", " x")))
        if r["note"]:
            print("%-10s   (%s)" % ("", r["note"]))
    print()
    print("CPU time (user + system, medians of the same runs):")
    for r in rows:
        ratio = r["cpu_ours"] / r["cpu_potrace"] if r["cpu_ours"] and r["cpu_potrace"] else None
        print("%-10s ours %s, potrace %s, ours/potrace %s" % (r["size"], fmt(r["cpu_ours"], "%.0f", " ms"),
                                                              fmt(r["cpu_potrace"], "%.0f", " ms"),
                                                              fmt(ratio, "%.2f", " x")))
    if before:
        print("Against the earlier build (%s), wall time, medians of the same runs:" % before)
        for r in rows:
            print(before_line(r["size"], r["ours"], r["before"]))
    print("Aims: ours/potrace at most 1.0 x at every size, below skeletonize at 1500 x 1500, at most 16 bytes")
    print("per pixel above start.")
    print()


def scan(batch, make_assets, tmp, work, runs, help_text, before=None):
    """An A4 page at 300 dpi as a scanner gives it, a grey JPEG: ours on the
    JPEG against djpeg -grayscale | potrace, each a whole pipeline."""
    width, height = A4_SIZE
    print("measuring the A4 scan ...", flush=True)
    grey = os.path.join(tmp, "a4-grey.png")
    jpeg = os.path.join(tmp, "a4-scan.jpg")
    subprocess.run([make_assets, "--drawing", str(width), str(height), grey], check=True)
    work.ask("scan", grey, jpeg)
    ours = [batch] + (["--large"] if "--large" in help_text else []) + [jpeg, os.path.join(tmp, "a4-ours.dxf")]
    theirs = ["/bin/sh", "-c", 'djpeg -grayscale "$1" | potrace -b dxf -o "$2"', "sh", jpeg,
              os.path.join(tmp, "a4-potrace.dxf")]
    decode = ["/bin/sh", "-c", 'djpeg -grayscale "$1" > /dev/null', "sh", jpeg]
    log = os.path.join(tmp, "a4-ours.log")
    times = {"ours": [], "theirs": [], "decode": [], "before": []}
    earlier = before_argv(before, ours)
    note = ""
    for round_no in range(runs + 1):
        for name, argv in (("before", earlier), ("ours", ours), ("theirs", theirs), ("decode", decode)):
            if argv is None:
                continue
            seconds, status = run_wall(argv, log if name == "ours" else os.devnull)
            if status != 0 and name == "before":
                note, earlier, times["before"] = "before exit %d" % status, None, []
            elif status != 0:
                if name != "ours":
                    raise RuntimeError("djpeg or potrace failed on " + jpeg)
                note = "ours exit %d: %s" % (status, last_message(log))
                ours, times["ours"] = None, []
            elif round_no:
                times[name].append(seconds)
    ms = {name: median_ms(t) for name, t in times.items()}
    bpp = None
    if ours:
        start_kib, _ = peak_kib([batch, "--help"], tmp)
        kib, status = peak_kib(ours, tmp)
        if status == 0:
            bpp = (kib - start_kib) * 1024.0 / (width * height)
    ratio = ms["ours"] / ms["theirs"] if ms["ours"] and ms["theirs"] else None
    print("A4 at 300 dpi (%d x %d), grey JPEG scan, medians of %d alternating runs:" % (width, height, runs))
    print("%-10s %9s %9s %9s %8s %10s" % ("picture", "ours ms", "djpeg |", "djpeg", "B/pixel", "ours/"))
    print("%-10s %9s %9s %9s %8s %10s" % ("", "", "potrace", "alone", "above", "djpeg|pot."))
    print("%-10s %9s %9s %9s %8s %10s" % ("A4 scan", fmt(ms["ours"]), fmt(ms["theirs"]), fmt(ms["decode"]),
                                          fmt(bpp, "%.1f"), fmt(ratio, "%.2f", " x")))
    if note:
        print("%-10s   (%s)" % ("", note))
    if before:
        print(before_line("A4 scan", ms["ours"], ms["before"]))
    print("Aim: ours / (djpeg -grayscale | potrace -b dxf) at most 1.0 x.")
    print()


def many(batch, make_assets, tmp, work, runs, fmt_ext, help_text, size, before=None, report_pairs=101):
    has_out_dir = "--out-dir" in help_text
    print("measuring %d pictures of %d x %d ..." % (MANY_COUNT, size[0], size[1]), flush=True)
    tmp = os.path.join(tmp, "many-%dx%d" % size)
    src = os.path.join(tmp, "many")
    os.makedirs(src)
    grey = os.path.join(tmp, "many-grey.png")
    subprocess.run([make_assets, "--drawing", str(size[0]), str(size[1]), grey], check=True)
    work.ask("prepare", "many", grey, os.path.join(src, "p01"), fmt_ext)
    names = ["p%02d.%s" % (i, fmt_ext) for i in range(1, MANY_COUNT + 1)]
    for name in names[1:]:
        shutil.copyfile(os.path.join(src, names[0]), os.path.join(src, name))
    pictures = [os.path.join(src, name) for name in names]

    def written(dest):
        return sum(1 for _, _, files in os.walk(dest) for f in files if f.endswith(".dxf"))

    def out_dir(name):
        path = os.path.join(tmp, name)
        shutil.rmtree(path, ignore_errors=True)
        os.makedirs(path)
        return path

    def xargs_run(dest):
        # One process per picture, two at a time, each writing NAME.dxf in its own folder.
        start = time.perf_counter()
        done = subprocess.run(["xargs", "-0", "-P", "2", "-I", "{}", batch, src + "/{}", "{}.dxf"], cwd=dest,
                              input="".join(n + "\0" for n in names).encode(), stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL)
        return time.perf_counter() - start, done.returncode

    def halves_run(dest):
        # Two -j 1 processes at once, half the pictures each: how far this
        # machine's two cores take this work side by side, sharing nothing.
        half = len(pictures) // 2
        start = time.perf_counter()
        both = [subprocess.Popen([batch, "-j", "1", "--out-dir", os.path.join(dest, part)] + chosen,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                for part, chosen in (("a", pictures[:half]), ("b", pictures[half:]))]
        statuses = [p.wait() for p in both]
        return time.perf_counter() - start, max(statuses)

    def jobs_run(program, jobs):
        return lambda dest: run_timed([program, "-j", jobs, "--out-dir", dest] + pictures, os.devnull)

    def report_run(dest):
        # -j 2 with the review page: what the page adds to the batch.
        return run_timed([batch, "-j", "2", "--out-dir", dest, "--report", os.path.join(dest, "review.html")] +
                         pictures, os.devnull)

    # The page's run right beside the one without it, first in every other
    # round, so that what it adds is taken from pairs the machine's drift
    # has no time to come between.
    kinds = [("-j 1", jobs_run(batch, "1")), ("-j 2", jobs_run(batch, "2"))]
    if "--report" in help_text:
        kinds.append(("-j 2 --report", report_run))
    kinds += [("xargs -P 2", xargs_run), ("two halves", halves_run)]
    if before:
        kinds += [("before -j 1", jobs_run(before, "1")), ("before -j 2", jobs_run(before, "2"))]
    times = {name: [] for name, _ in kinds}
    cpu = {name: [] for name, _ in kinds}  # CPU seconds, of the kinds that give them
    failed = {}
    for round_no in range(runs + 1):
        order = list(enumerate(kinds))
        if round_no % 2 and "--report" in help_text:
            order[1], order[2] = order[2], order[1]
        for k, (name, run) in order:
            # Every kind but xargs gives its pictures as a list, with --out-dir.
            if name in failed or (not has_out_dir and name != "xargs -P 2"):
                continue
            dest = out_dir("kind%d" % k)
            seconds, status, *used = run(dest)
            count = written(dest)
            if status != 0 or count != MANY_COUNT:
                failed[name] = "exit %d, %d drawings written" % (status, count)
            elif round_no:
                times[name].append(seconds)
                cpu[name] += used

    # What the page adds, from pairs of its own: each pair's two runs side
    # by side, the page's first in every other pair.
    adds = {"time": [], "CPU": []}
    if "--report" in help_text and has_out_dir and not any(k in failed for k in ("-j 2", "-j 2 --report")):
        plain = jobs_run(batch, "2")
        for pair_no in range(report_pairs):
            order = [("plain", plain), ("page", report_run)]
            if pair_no % 2:
                order.reverse()
            measured = {name: run(out_dir("pair-" + name)) for name, run in order}
            (a, _, a_cpu), (b, _, b_cpu) = measured["plain"], measured["page"]
            if a > 0 and a_cpu > 0:
                adds["time"].append(b / a)
                adds["CPU"].append(b_cpu / a_cpu)

    rate = {}
    for name, _ in kinds:
        rate[name] = MANY_COUNT / statistics.median(times[name]) if times[name] else None
    print()
    print("%d pictures of %d x %d, medians of %d alternating runs:" % (MANY_COUNT, size[0], size[1], runs))
    print("%-28s %12s" % ("", "pictures/s"))
    labels = {"-j 1": "quernline-batch -j 1", "-j 2": "quernline-batch -j 2",
              "xargs -P 2": "xargs -P 2, one per picture", "two halves": "two -j 1 runs, 12 each",
              "-j 2 --report": "quernline-batch -j 2 --report",
              "before -j 1": "earlier build -j 1",
              "before -j 2": "earlier build -j 2"}
    for name, _ in kinds:
        note = " (%s)" % failed[name] if name in failed else ("" if has_out_dir or name.startswith("x")
                                                                else " (--out-dir not offered)")
        print("%-28s %12s%s" % (labels[name], fmt(rate[name], "%.1f"), note))

    def ratio(a, b):
        return rate[a] / rate[b] if rate[a] and rate[b] else None

    print("%-28s %12s" % ("-j 2 / -j 1", fmt(ratio("-j 2", "-j 1"), "%.2f", " x")))
    print("%-28s %12s" % ("-j 2 / xargs -P 2", fmt(ratio("-j 2", "xargs -P 2"), "%.2f", " x")))
    print("%-28s %12s  (what two processes get from the two cores)" %
          ("two -j 1 runs / -j 1", fmt(ratio("two halves", "-j 1"), "%.2f", " x")))
    if before:
        print("%-28s %12s" % ("earlier build -j 2 / -j 1", fmt(ratio("before -j 2", "before -j 1"), "%.2f", " x")))
    # Wall time, and the CPU seconds, which the machine's drift and the
    # other process's share of the cores move less.
    for kind in ("time", "CPU"):
        label = "%s --report adds at -j 2" % kind
        pairs = sorted(adds[kind])
        if pairs:
            print("%-28s %12s  (median of %d pairs, quartiles %+.1f to %+.1f %%)" % (
                label, fmt((statistics.median(pairs) - 1) * 100, "%+.1f", " %"), len(pairs),
                (pairs[len(pairs) // 4] - 1) * 100, (pairs[3 * len(pairs) // 4] - 1) * 100))
        else:
            print("%-28s %12s" % (label, fmt(None, "%+.1f", " %")))
    print("Aims: -j 2 / -j 1 at least 1.9 x, -j 2 / xargs -P 2 at least 1.0 x, --report at most +5 %.")


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    batch = os.path.abspath(os.environ.get("QUERN_BATCH", os.path.join(root, "build", "quernline-batch")))
    before = os.environ.get("QUERN_BATCH_BEFORE")
    before = os.path.abspath(before) if before else None
    make_assets = os.path.abspath(os.environ.get("QUERN_MAKE_ASSETS", os.path.join(root, "build", "tools",
                                                                                   "make_assets")))
    runs = max(int(os.environ.get("PEERS_RUNS", "5")), 1)
    report_pairs = max(int(os.environ.get("PEERS_REPORT_PAIRS", "101")), 1)
    fmt_ext = os.environ.get("PEERS_FORMAT", "bmp").lower()
    sizes = SIZES
    if os.environ.get("PEERS_SIZES"):
        sizes = [tuple(int(v) for v in s.split("x")) for s in os.environ["PEERS_SIZES"].split(",")]
    if fmt_ext not in ("bmp", "gif"):
        print("bench_peers: PEERS_FORMAT must be bmp or gif", file=sys.stderr)
        return 2
    try:
        check_tools(batch, make_assets)
    except Missing as e:
        print("bench_peers: " + str(e), file=sys.stderr)
        return 1
    help_text = subprocess.run([batch, "--help"], capture_output=True, text=True).stdout
    potrace_version = subprocess.run(["potrace", "--version"], capture_output=True, text=True).stdout.split()[:2]
    print("quernline-batch: %s" % batch)
    work = Worker()
    try:
        print("peers: %s, scikit-image %s; %d cores; %s" % (
            " ".join(potrace_version).rstrip("."), work.ask("version")[0], os.cpu_count() or 0,
            time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime())))
        print()
        with tempfile.TemporaryDirectory(prefix="quern-peers-") as tmp:
            peers(batch, make_assets, tmp, work, runs, sizes, fmt_ext, help_text, before)
            if os.environ.get("PEERS_SCAN", "1") != "0":
                scan(batch, make_assets, tmp, work, runs, help_text, before)
            for k, size in enumerate(MANY_SIZES):
                many(batch, make_assets, tmp, work, runs, fmt_ext, help_text, size, before if k == 0 else None,
                     report_pairs)
    finally:
        work.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
