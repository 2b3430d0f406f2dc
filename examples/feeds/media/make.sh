#!/usr/bin/env bash
# Draws, composes and encodes the files in this directory. Needed on Debian:
#   apt-get install ffmpeg imagemagick webp python3-pil fonts-dejavu-core
# Other versions of the encoders may write other bytes, but the properties that tests rely on stay.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 draw.py "$work"
encode() { ffmpeg -v error -y -bitexact "$@" -fflags +bitexact; }

convert "$work/landscape.png" -strip -quality 72 lake.jpg
cp "$work/receipt.png" receipt.png
cp "$work/map.png" map.png
cwebp -quiet -q 70 "$work/sticker.png" -o sticker.webp
convert -delay 7 -loop 0 "$work"/ball-*.png -colors 16 -layers optimize bounce.gif
convert -delay 9 -loop 0 -dispose previous "$work"/wink-?.png -colors 24 wink.gif

encode -r 10 -i "$work/sunrise-%02d.png" -i "$work/song.wav" -t 2 \
    -c:v libx264 -preset veryslow -crf 30 -pix_fmt yuv420p -c:a aac -b:a 24k -ac 1 \
    -movflags +faststart sunrise.mp4

encode -i "$work/hum.wav" -c:a libopus -b:a 16k -ac 1 voice.ogg

convert "$work/cover.png" -strip -quality 70 "$work/cover.jpg"
encode -i "$work/song.wav" -i "$work/cover.jpg" -map 0 -map 1 -c:a libmp3lame -b:a 32k -c:v copy \
    -id3v2_version 3 -disposition:v attached_pic -metadata:s:v comment="Cover (front)" \
    -metadata title="Утро у озера — 湖の朝" -metadata artist="Zoë Ångström" \
    -metadata album="Étude № 1" -metadata genre="Ambient" -metadata date=2024 -metadata track=3/9 \
    morning.mp3
encode -i "$work/song.wav" -c:a aac -b:a 24k -metadata title="Lakeside" -metadata artist="Mira" \
    "$work/plain.m4a"
encode -i "$work/plain.m4a" -i "$work/cover.png" -map 0 -map 1 -c copy \
    -disposition:v:0 attached_pic lakeside.m4a

# The small images within messages, shown until the files arrive.
mkdir -p thumbs
encode -ss 1 -i sunrise.mp4 -frames:v 1 "$work/sunrise.png"
thumbnail() {
    convert "$1[0]" -background white -flatten -resize 24x24 -strip -quality 40 "thumbs/$2.jpg"
}
for picture in lake.jpg receipt.png map.png bounce.gif wink.gif; do
    thumbnail "$picture" "$picture"
done
thumbnail "$work/sunrise.png" sunrise.mp4

cat > notes.txt <<'TEXT'
Packing for Saturday
- tent (Mira has the poles)
- stove, matches, tea
- ☔ two rain jackets
- Ключ от лодки — у Зои
TEXT

# A one-page document, written by hand; its table of offsets must be exact.
python3 - timetable.pdf <<'PYTHON'
import sys
lines = ["Boat timetable", "", "Pier      07:30   10:30   14:00   18:15",
         "Garden    07:50   10:50   14:20   18:35", "Old mill  08:15   11:15   14:45   19:00"]
text = "BT /F1 12 Tf 60 780 Td 18 TL " + " T* ".join(f"({line}) Tj" for line in lines) + " ET"
objects = ["<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
           "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R"
           " /Resources << /Font << /F1 5 0 R >> >> >>",
           f"<< /Length {len(text)} >>\nstream\n{text}\nendstream",
           "<< /Type /Font /Subtype /Type1 /BaseFont /Courier >>"]
pdf, offsets = "%PDF-1.4\n", []
for number, body in enumerate(objects, 1):
    offsets.append(len(pdf))
    pdf += f"{number} 0 obj\n{body}\nendobj\n"
table = "".join(f"{offset:010} 00000 n \n" for offset in offsets)
pdf += (f"xref\n0 {len(objects) + 1}\n0000000000 65535 f \n{table}"
        f"trailer << /Size {len(objects) + 1} /Root 1 0 R >>\nstartxref\n{len(pdf)}\n%%EOF\n")
open(sys.argv[1], "w", newline="").write(pdf)
PYTHON
