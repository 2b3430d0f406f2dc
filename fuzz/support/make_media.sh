#!/usr/bin/env bash
# Encodes the seeds of the targets "audio" and "video": one small file of each kind that the
# recorded feeds lack. Needs ffmpeg. Builds and runs use the committed files.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

encode() { ffmpeg -v error -y -bitexact "$@"; }
media=../examples/feeds/media

# song NAME OPTION...
song() {
    encode -t 0.1 -i $media/morning.mp3 -i $media/thumbs/map.png.jpg -map 0:a -ar 8000 -ac 1 \
        -metadata track=3/9 "${@:2}" "audio/seeds/$1"
}
mkdir -p audio/seeds video/seeds
song cover.flac -c:a flac -map 1 -disposition:v attached_pic
song flac.ogg -c:a flac
song speex.ogg -c:a libspeex
song vorbis.ogg -c:a libvorbis
song id3v24.mp3 -c:a libmp3lame -b:a 8k -id3v2_version 4 -write_id3v1 1

# film NAME OPTION...
film() {
    encode -i $media/sunrise.mp4 -map 0:v -frames:v 3 -s 64x40 "${@:2}" "video/seeds/$1"
}
film vp8.webm -c:v libvpx -b:v 40k
film vp9.mkv -c:v libvpx-vp9 -b:v 40k
film mpeg4.avi -c:v mpeg4 -q:v 20
film mjpeg.mov -c:v mjpeg -q:v 20
film sorenson.flv -c:v flv -q:v 20
film mpeg2.ts -r 25 -c:v mpeg2video -q:v 20
film mpeg1.mpg -r 25 -c:v mpeg1video -q:v 20
film wmv2.asf -c:v wmv2 -q:v 20
film theora.ogg -c:v libtheora -q:v 1
film h263.3gp -s 128x96 -c:v h263 -q:v 20
