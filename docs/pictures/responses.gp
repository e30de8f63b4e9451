# The responses of the built-in filters: gnuplot -e "data='FILE'; picture='FILE'"
load 'style.gp'
set title 'What the built-in low-pass filters let through'
set xlabel 'frequency, kHz'
set ylabel 'gain, dB'
set xrange [0:24]
set yrange [-80:5]
set xtics 2
set key outside right
plot for [i=0:6] data index i using ($1/1000):2 with lines linestyle i+1 title columnheader(1)
