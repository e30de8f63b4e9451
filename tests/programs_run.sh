#!/bin/sh
# programs_run.sh VERSION: what the programs do with files, pipes, links, signals and options. It needs the recordings
# that the test Programs.WorkInTheShell writes. The commands are traced, and the last one is what fails.
set -eux

# A file is replaced by what is made of itself, and its speakers stay: here left, right and low frequencies.
printf '\13' | dd of=in.wav bs=1 seek=40 conv=notrunc
pcm-transcode in.wav x.wav
pcm-transcode x.wav x.wav
cmp x.wav in.wav

# NaN and infinities are read, changed and written.
pcm-transcode --level 1 odd.wav x.au

# A link stays a link.
ln -s x.wav link.wav
pcm-transcode in.wav link.wav
cmp x.wav in.wav
test -L link.wav

# Pipes, named and not; what ends in .raw has no header.
mkfifo pipe
timeout 9 cat pipe >x.wav &
pcm-transcode in.wav pipe --type WAV
wait
cmp x.wav in.wav
pcm-transcode --type au - - <in.wav | pcm-transcode --type raw - x
pcm-transcode in.wav y.raw
cmp x y.raw
pcm-mix - 0 in.wav -200 - <in.wav | cmp - in.wav
pcm-conceal 0 - - <in.wav | cmp - in.wav

pcm-hello x.au
pcm-transcode x.au y.wav | grep 'au mulaw, 8000 Hz, 1 channel, 1.000 s (8000 frames), peak -10.0 dB'

# Help is the same whoever asks, and goes to standard output; without arguments there is only an error.
test "$(pcm-tones --version)" = "pcm-tones (pcm) $1"
test "$(pcm-tones -h)" = "$(pcm-tones --help)"
for program in pcm-transcode pcm-tones pcm-mix pcm-conceal pcm-hello; do
    $program --help 2>errors | grep $program
    test ! -s errors
    if $program >output 2>errors; then exit 1; fi
    test ! -s output
done

# Who is interrupted, or finds no room, leaves nothing behind; but nohup holds.
rm x*
endless='pcm-tones noise --duration 9e3 --rate 655350 x.wav'
ulimit -c 0
for signal in HUP INT QUIT PIPE; do
    timeout -s $signal 0.2 $endless || test $? = 124
done
if (ulimit -f 1000; exec $endless); then exit 1; fi
test -z "$(ls x* 2>/dev/null)"
trap '' HUP
pcm-tones noise --duration 10000 x.wav &
sleep 0.1
kill -HUP $!
wait $!

# -0.5 in every encoding.
test "$(for name in $(pcm-transcode --help | sed -n 's/^Encodings://p'); do
    echo $name $(pcm-transcode half.wav --type raw - --encoding $name | od -An -v -tx1 | tr -d ' ')
done)" = 's8 c0
u8 40
s16le 00c0
s16be c000
u16le 0040
u16be 4000
s24le 0000c0
s24be c00000
u24le 000040
u24be 400000
s32le 000000c0
s32be c0000000
u32le 00000040
u32be 40000000
f32le 000000bf
f32be bf000000
alaw 25
mulaw 0f'

# The digits of tones, read by a program that was written elsewhere.
command -v multimon-ng || exit 0
for options in '' '--cadence 50:50' '--level -30' '--cadence 70:45'; do
    pcm-tones dtmf '0123456789ABCD*#' x.raw --rate 22050 $options
    test "$(multimon-ng -q -t raw -a DTMF x.raw | sed -n 's/^DTMF: //p' | tr -d '\n')" = '0123456789ABCD*#'
done
