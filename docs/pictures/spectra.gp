# The spectra of a recording before and after: TITLE='TEXT' gnuplot -e "data='FILE'; picture='FILE'"
load 'style.gp'
set title system('printf %s "$TITLE"') noenhanced
set xlabel 'frequency, kHz' offset 0,0.4
set ylabel 'power in 25 Hz, dB of full scale'
set yrange [-120:0]
set autoscale xfix
set key vertical maxrows 2 Left reverse # a line for each: the names of formats may be long
set bmargin 6.2
plot for [i=0:1] data index i using ($1/1000):2 with lines linestyle i+1 title columnheader(1)
