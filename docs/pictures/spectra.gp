# The spectra of audio files on one scale: gnuplot -e "data='FILE'; picture='FILE'; files=COUNT"
load 'style.gp'
set title 'What the recordings hold'
set xlabel 'frequency, kHz'
set ylabel 'level, dB of full scale'
set yrange [-120:0]
set xtics 2
set key top right
plot for [i=0:files-1] data index i using ($1/1000):2 with lines linestyle i+1 title columnheader(1)
