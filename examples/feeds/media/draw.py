"""Draws the pictures and composes the sounds for make.sh into the given directory."""

import math
import random
import struct
import sys
import wave

from PIL import Image, ImageDraw, ImageFilter, ImageFont

out = sys.argv[1]
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"


def blend(a, b, t):
    return tuple(round(x + (y - x) * t) for x, y in zip(a, b))


def gradient(size, top, bottom):
    image = Image.new("RGB", size)
    draw = ImageDraw.Draw(image)
    for y in range(size[1]):
        draw.line([(0, y), (size[0], y)], fill=blend(top, bottom, y / size[1]))
    return image


def ridge(draw, size, base, height, seed, colour):
    """A line of hills with everything below it filled."""
    points = [(0, size[1])]
    for x in range(0, size[0] + 1, 2):
        t = x / size[0]
        y = sum(math.sin(t * f * 6.28 + seed * f) / f for f in (1, 2.3, 5.1, 11.7))
        points.append((x, size[1] * (base - height * y)))
    draw.polygon(points + [(size[0], size[1])], fill=colour)


def landscape(size, sun=0.3):
    """A lake below hills; `sun` in 0..1 is the height of the sun."""
    w, h = size
    random.seed(7)  # the same trees and waves in every frame
    image = gradient(size, blend((40, 60, 120), (90, 160, 220), sun),
                     blend((240, 140, 90), (250, 220, 180), sun))
    draw = ImageDraw.Draw(image)
    x, y, r = w * 0.68, h * (0.62 - 0.4 * sun), h * 0.075
    draw.ellipse([x - r, y - r, x + r, y + r], fill=(255, 240, 190))
    ridge(draw, size, 0.52, 0.10, 1.3, (96, 112, 150))
    ridge(draw, size, 0.60, 0.08, 4.1, (66, 92, 110))
    ridge(draw, size, 0.70, 0.05, 2.2, (44, 78, 66))
    lake = int(h * 0.74)
    mirror = image.crop((0, lake * 2 - h, w, lake)).transpose(Image.FLIP_TOP_BOTTOM)
    image.paste(Image.blend(mirror, Image.new("RGB", mirror.size, (40, 70, 110)), 0.45), (0, lake))
    draw = ImageDraw.Draw(image)
    for _ in range(w // 6):
        px, py = random.randrange(w), random.randrange(lake, h)
        draw.line([(px, py), (px + random.randrange(4, w // 20), py)], fill=(190, 200, 215))
    for _ in range(9):
        px, s = random.randrange(w // 3), random.uniform(0.09, 0.16) * h
        draw.polygon([(px, lake + 4), (px - s / 4, lake + 4), (px - s / 8, lake - s)],
                     fill=(22, 48, 40))
    return image


def cover(side):
    """Rings, as on a record sleeve."""
    image = gradient((side, side), (34, 28, 70), (190, 70, 100))
    draw = ImageDraw.Draw(image)
    for i in range(9, 0, -1):
        r = side * 0.045 * i
        draw.ellipse([side / 2 - r, side / 2 - r, side / 2 + r, side / 2 + r],
                     fill=blend((250, 215, 120), (60, 40, 110), i / 9))
    return image


def receipt():
    """A long till receipt: a picture much taller than wide."""
    image = Image.new("RGB", (180, 760), (250, 249, 244))
    draw, font = ImageDraw.Draw(image), ImageFont.truetype(FONT, 13)
    draw.text((52, 16), "LAKE CAFÉ", font=font, fill=(30, 30, 30))
    random.seed(32)
    goods = ["Tea", "Soup", "Bread", "Apple cake", "Coffee", "Water", "Plums"]
    total = 0
    for i in range(32):
        price = random.randrange(90, 990)
        total += price
        draw.text((12, 50 + 20 * i), random.choice(goods), font=font, fill=(50, 50, 50))
        draw.text((128, 50 + 20 * i), f"{price / 100:5.2f}", font=font, fill=(50, 50, 50))
    draw.line([(12, 700), (168, 700)], fill=(30, 30, 30))
    draw.text((12, 710), "Total", font=font, fill=(0, 0, 0))
    draw.text((118, 710), f"{total / 100:.2f}", font=font, fill=(0, 0, 0))
    return image.quantize(16)


def face(side, wink=0.0):
    """A cat's face on a clear background; `wink` in 0..1 closes one eye."""
    s = side * 4
    image = Image.new("RGBA", (s, s), (0, 0, 0, 0))
    draw = ImageDraw.Draw(image)
    fur, dark = (245, 170, 80, 255), (70, 45, 30, 255)
    for side_of in (lambda x: x, lambda x: 1 - x):
        draw.polygon([(s * side_of(x), s * y) for x, y in ((0.12, 0.45), (0.18, 0.06), (0.40, 0.28))],
                     fill=fur)
    draw.ellipse([s * 0.08, s * 0.18, s * 0.92, s * 0.92], fill=fur)
    for x, shut in ((0.34, 0.0), (0.66, wink)):
        half = s * (0.01 + 0.08 * (1 - shut))
        draw.ellipse([s * (x - 0.06), s * 0.46 - half, s * (x + 0.06), s * 0.46 + half], fill=dark)
    draw.polygon([(s * 0.46, s * 0.60), (s * 0.54, s * 0.60), (s * 0.50, s * 0.65)], fill=dark)
    for a, b in ((0.36, 0.50), (0.50, 0.64)):
        draw.arc([s * a, s * 0.60, s * b, s * 0.74], 0, 180, fill=dark, width=s // 50)
    for y in (0.60, 0.68):
        draw.line([(s * 0.02, s * y), (s * 0.26, s * 0.65)], fill=dark, width=s // 90)
        draw.line([(s * 0.98, s * y), (s * 0.74, s * 0.65)], fill=dark, width=s // 90)
    return image.resize((side, side), Image.LANCZOS)


def street_map():
    size = (400, 240)
    image = Image.new("RGB", size, (238, 234, 224))
    draw, font = ImageDraw.Draw(image), ImageFont.truetype(FONT, 11)
    draw.rectangle([20, 20, 130, 95], fill=(200, 226, 180))
    draw.polygon([(0, 190), (150, 165), (270, 205), (400, 180), (400, 240), (0, 240)],
                 fill=(168, 208, 232))
    for line, width in (([(0, 110), (400, 130)], 11), ([(150, 0), (175, 190)], 9),
                        ([(290, 0), (270, 200)], 9), ([(160, 60), (282, 50)], 6),
                        ([(0, 150), (168, 145)], 6), ([(282, 90), (400, 70)], 6)):
        draw.line(line, fill=(205, 200, 190), width=width + 2)
        draw.line(line, fill=(255, 255, 255), width=width)
    draw.text((48, 50), "Garden", font=font, fill=(80, 120, 70))
    draw.text((180, 212), "Lake", font=font, fill=(60, 110, 150))
    draw.polygon([(215, 118), (206, 96), (224, 96)], fill=(205, 50, 50))
    draw.ellipse([205, 82, 225, 102], fill=(205, 50, 50))
    draw.ellipse([211, 88, 219, 96], fill=(255, 255, 255))
    return image.quantize(48)


RATE = 24000


def tune(path, notes, beat):
    """Notes in half-tones from A4 (None is a rest), plucked in sequence."""
    samples = [0.0] * int(RATE * (len(notes) * beat + 0.4))
    for i, note in enumerate(notes):
        if note is None:
            continue
        f, start = 440 * 2 ** (note / 12), int(RATE * i * beat)
        for n in range(min(int(RATE * 0.9), len(samples) - start)):
            t = n / RATE
            wave_ = sum(math.sin(6.2832 * f * k * t) / k ** 1.6 for k in (1, 2, 3, 4))
            samples[start + n] += wave_ * math.exp(-5 * t) * min(1, n / 60)
    peak = max(map(abs, samples))
    with wave.open(path, "wb") as file:
        file.setparams((1, 2, RATE, 0, "NONE", ""))
        file.writeframes(b"".join(struct.pack("<h", int(26000 * s / peak)) for s in samples))


landscape((640, 400)).filter(ImageFilter.SMOOTH).save(f"{out}/landscape.png")
for i in range(20):
    landscape((192, 120), i / 19).save(f"{out}/sunrise-{i:02}.png")
cover(160).save(f"{out}/cover.png")
receipt().save(f"{out}/receipt.png")
face(128).save(f"{out}/sticker.png")
for i, wink in enumerate((0, 0, 0.4, 0.8, 1, 1, 0.8, 0.4)):
    face(96, wink).save(f"{out}/wink-{i}.png")
for i in range(12):
    ball = Image.new("RGB", (96, 96), (250, 244, 230))
    y = 70 - 50 * abs(math.sin(math.pi * i / 12))
    ImageDraw.Draw(ball).ellipse([36, y - 12, 60, y + 12], fill=(210, 60, 70))
    ImageDraw.Draw(ball).ellipse([40, 84, 56, 88], fill=(200, 190, 170))
    ball.save(f"{out}/ball-{i:02}.png")
street_map().save(f"{out}/map.png")
tune(f"{out}/hum.wav", [0, 3, 7, 5, 3, None, 2, 0, -5, 0], 0.22)
tune(f"{out}/song.wav", [0, 4, 7, 12, 7, 4, 5, 9, 12, 9, 5, 2, 0], 0.2)
