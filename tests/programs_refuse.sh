#!/bin/sh
# programs_refuse.sh: what the programs refuse, each in one line and with no file changed. It needs the files that the
# test Programs.RefuseInOneLineAndLeaveNothingBehind writes.
set -u
status=0
before=$(cksum ./* 2>&1)

# refuses PROGRAM: reads rows of arguments and of what the program's line begins with.
refuses() {
    while IFS='|' read -r arguments text; do
        said=$(eval "$1 $arguments" </dev/null 2>&1)
        [ $? -eq 1 ] || { echo "$1 $arguments: does not end with 1"; status=1; }
        case $said in
        *"
"*) echo "$1 $arguments: says more than a line: $said"; status=1 ;;
        "$1:$text"*) ;;
        *) echo "$1 $arguments: says '$said'"; status=1 ;;
        esac
        [ "$(cksum ./* 2>&1)" = "$before" ] || { echo "$1 $arguments: has changed a file"; exit 1; }
    done
}

refuses pcm-transcode <<END
$(for name in *.cut; do echo "$name x.wav | cannot read '$name':"; done)
                          | needs an input and an output, not 0 files; see pcm-transcode --help
-- -- -.mp3               | cannot tell what
in x.wav --level          | --level lacks its
--lo in x.wav             | unknown option
text x.wav                | cannot read
--level nan in x.wav      | --level takes a
--level=3dB in x.wav      | --level takes a number from -200
--expand=1 in x.wav       | --expand takes no
--expand in x.wav         | --expand needs
--trim 5 in x.wav         | --trim takes START:
--trim -1:5 in x.wav      | --trim takes whole numbers from 0 to
--trim 49999:2 in x.wav   | cannot trim: the input lacks the
--rate 655351 in x.wav    | --rate takes whole numbers from 1 to 655350,
--type mp3 in x.wav       | unknown type 'mp3'; there are wav
--encoding s17 in x.wav   | unknown encoding 's17'; there are s8 u8
--encoding u16le in x.wav | cannot write 'x.wav': this
in l.wav                  | cannot write 'l.wav': this symb
in d.wav                  | cannot write 'd.wav': Is a directory
in no/x.wav               | cannot write 'no/x.wav': No such
in --type wav /dev/full   | cannot write '/dev/full': No
--type raw in - >>in      | cannot write '-': the input is this
- x.wav <n                | cannot read '-': the
silence x.wav             | cannot read 'silence': the
d.wav x.wav               | cannot read 'd.wav': Is a directory
no x.wav                  | cannot read 'no': No such
cut x.wav                 | cannot read 'cut': the file is cut
END
refuses pcm-tones <<'END'
dtmf x.wav                | dtmf needs its digits
dtmf 12y x.wav            | 'y' is not a digit
busy x.wav --rate 1240    | a rate of 1240 Hz has no
dial x.wav --rate 655351  | --rate takes whole numbers from 1 to 655350,
dial x.wav --cadence 1:1, | --cadence takes ON:OFF[,ON:OFF]
engaged x.wav             | unknown signal
END
refuses pcm-conceal <<'END'
5% in x.wav               | takes a number from 0 to 100, not
END
refuses pcm-mix <<'END'
in 0 x.wav 0 y.wav        | the recordings differ
in loud in 0 x.wav        | a level is a number
END
exit $status
