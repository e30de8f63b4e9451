#!/bin/sh
# bridge_live.sh BRIDGE TONES [KEYS]: lets FFmpeg call the bridge over the loopback. Three parties of different
# encodings each send a tone; each must receive the tones of the two others and nothing else: no gap, no slip, nothing
# of its own, and nothing of a stranger who sends 20000 packets a second to the first one's port. A fourth call carries
# DTMF, which multimon-ng reads. A fifth carries telephone events that GStreamer makes (KEYS is dtmf_client), which one
# bridge passes on to another that makes tones of them. Ends with 77 where FFmpeg or multimon-ng is not installed.
set -eu
bridge=$1 tones=$2 keys=${3:-}
for tool in ffmpeg multimon-ng; do
    command -v $tool >/dev/null || { echo "$tool is not installed"; exit 77; }
done
work=$(mktemp -d)
running=
trap 'kill $running 2>/dev/null || true; rm -rf "$work"' EXIT
port=$((20000 + $$ % 300 * 40))

start() { "$@" & running="$running $!"; }
quiet="-nostdin -v error"
# send PORT INPUT...: sends packets of 20 ms at the speed at which they play. It and the next are for `start`.
send() { to=$1; shift; exec ffmpeg $quiet -re "$@" -f rtp "rtp://127.0.0.1:$to" >/dev/null; }
# receive PORT TYPE RTPMAP SECONDS RATE FILE: as 16 bits without a header
receive() {
    printf 'v=0\nc=IN IP4 127.0.0.1\nm=audio %s RTP/AVP %s\na=rtpmap:%s %s\n' "$1" "$2" "$2" "$3" >"$6.sdp"
    exec ffmpeg $quiet -protocol_whitelist file,udp,rtp -analyzeduration 0 -i "$6.sdp" -t "$4" -ar "$5" -f s16le "$6"
}

start "$bridge" --parties 3 --port $port --to 127.0.0.1:$((port + 10)) --encoding PCMU,PCMA,L16/16000 --delay 200 \
    --record "$work/all.wav" --rate 8000
conference=$!
start "$bridge" --parties 2 --port $((port + 20)) --to 127.0.0.1:$((port + 30)) --delay 200
start receive $((port + 10)) 0 PCMU/8000 5 8000 "$work/0"; r0=$!
start receive $((port + 12)) 8 PCMA/8000 5 8000 "$work/1"; r1=$!
start receive $((port + 14)) 96 L16/16000 5 16000 "$work/2"; r2=$!
start receive $((port + 32)) 0 PCMU/8000 6 22050 "$work/dtmf"; r3=$!
# Not multiples of 50 Hz, so that a packet more or less breaks their phase.
tone() { echo "sine=f=$1:r=$2:samples_per_frame=$(($2 / 50)),volume=2"; }
start send $port -f lavfi -i "$(tone 437 8000)" -c:a pcm_mulaw
start send $((port + 2)) -f lavfi -i "$(tone 1011 8000)" -c:a pcm_alaw
start send $((port + 4)) -f lavfi -i "$(tone 1723 16000)" -c:a pcm_s16be -payload_type 96
"$tones" dtmf '0123456789*#ABCD' "$work/dtmf.wav" --rate 8000 >/dev/null
start send $((port + 20)) -i "$work/dtmf.wav" -af asetnsamples=160 -c:a pcm_mulaw
"$bridge" --parties 1 --port $port 2>&1 | grep -q "cannot listen on ports $port and" ||
    { echo "takes a port twice"; exit 1; }
sleep 1
start ffmpeg $quiet -readrate 400 -f lavfi -i "$(tone 2000 8000)" -t 2000 -c:a pcm_mulaw \
    -f rtp "rtp://127.0.0.1:$port" >/dev/null
if [ -n "$keys" ]; then
    start "$bridge" --parties 2 --port $((port + 6)) --to 127.0.0.1:$((port + 34)) --digits events
    start "$bridge" --parties 2 --port $((port + 36)) --record "$work/keys.wav"
    second=$!
    sleep 0.5
    "$keys" $((port + 6)) '159*#D' || keys=
fi
wait $r0 && wait $r1 && wait $r2 && wait $r3
kill $conference
wait $conference
ffmpeg $quiet -i "$work/all.wav" -f s16le "$work/3"

# The last two seconds of each recording: the amplitude of each tone, 0.25 as sent, and what is left without them.
status=0
for file in 0 1 2 3; do
    rate=8000
    [ $file = 2 ] && rate=16000
    od -An -v -td2 -w2 "$work/$file" | tail -n $((2 * rate)) | awk -v own=$file -v rate=$rate '
        BEGIN { split("437 1011 1723", hertz); turn = 8 * atan2(1, 1) }
        {
            all += ($1 / 32768) ^ 2
            for (i in hertz) {
                real[i] += $1 / 32768 * cos(turn * hertz[i] * NR / rate)
                imaginary[i] += $1 / 32768 * sin(turn * hertz[i] * NR / rate)
            }
        }
        END {
            rest = all / NR
            for (i = 1; i <= 3; ++i) {
                amplitude = 2 * sqrt(real[i] ^ 2 + imaginary[i] ^ 2) / NR
                printf "%s%.4f", i == 1 ? own ": " : " ", amplitude
                rest -= amplitude ^ 2 / 2
                if (i == own + 1 ? amplitude > 0.001 : amplitude < 0.18 || amplitude > 0.26) bad = 1
            }
            printf ", rest %.6f\n", rest
            exit bad || NR != 2 * rate || rest > 0.0001
        }' || { echo "party $file does not hear what it should"; status=1; }
done
heard=$(multimon-ng -q -a DTMF -t raw "$work/dtmf" | sed -n 's/^DTMF: //p' | tr -d '\n')
[ "$heard" = '0123456789*#ABCD' ] || { echo "DTMF arrives as '$heard'"; status=1; }
if [ -n "$keys" ]; then
    kill $second
    wait $second
    heard=$(ffmpeg $quiet -i "$work/keys.wav" -ar 22050 -f s16le - | multimon-ng -q -a DTMF -t raw - |
        sed -n 's/^DTMF: //p' | tr -d '\n')
    [ "$heard" = '159*#D' ] || { echo "Telephone events arrive as '$heard'"; status=1; }
fi
exit $status
