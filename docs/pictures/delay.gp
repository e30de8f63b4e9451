# The latency of two talkers over an hour.
#     gnuplot -e "data='FILE'; picture='FILE'" delay.gp
load 'style.gp'
set xlabel 'minutes' offset 0,0.4
set ylabel 'ms'
set xrange [0:60]
set yrange [0:160]
set xtics 10
set title "From a talker's mouth to what the bridge sends: clocks 200 ppm off, 20 ms of jitter"
plot for [i=0:1] data index i using 1:2 with lines linestyle i+1 title columnheader(1)
