#!/usr/bin/python3
"""bench_peers.py's long-lived helper, started by it: thresholds the drawings
once, keeps the masks and times skeletonize in process, so its imports are
paid once and not counted. One request a line on stdin, one reply a line."""

import sys
import time


def worker():
    import numpy
    from PIL import Image
    from skimage.morphology import skeletonize

    masks = {}
    # One request a line, its words separated by tabs, so paths may hold spaces.
    for line in sys.stdin:
        words = line.rstrip("\n").split("\t")
        if words[0] == "prepare":  # prepare KEY GREY.png OUT_BASE FORMAT
            key, grey, base, fmt = words[1:]
            ink = numpy.asarray(Image.open(grey).convert("L")) < 128
            masks[key] = ink
            # Mode "1": white where there is no ink; both writers keep that sense.
            picture = Image.fromarray(~ink)
            picture.save(base + ".pbm")
            picture.save(base + "." + fmt)
            reply = "ok"
        elif words[0] == "scan":  # scan GREY.png OUT.jpg: paper as a scanner gives it
            from PIL import ImageFilter
            grey_path, out = words[1:]
            page = Image.open(grey_path).convert("L").filter(ImageFilter.GaussianBlur(0.8))
            noise = numpy.random.default_rng(300).normal(0.0, 6.0, (page.height, page.width))
            noisy = numpy.clip(numpy.asarray(page, dtype=numpy.float64) + noise, 0, 255).astype(numpy.uint8)
            Image.fromarray(noisy).save(out, quality=90)
            reply = "ok"
        elif words[0] == "version":
            import skimage
            reply = skimage.__version__
        elif words[0] == "skeletonize":  # skeletonize KEY
            ink = masks[words[1]]
            start = time.perf_counter()
            skeleton = skeletonize(ink)
            seconds = time.perf_counter() - start
            reply = "%.6f %d" % (seconds, int(skeleton.sum()))
        else:
            reply = "error unknown request " + words[0]
        print(reply, flush=True)


if __name__ == "__main__":
    worker()
