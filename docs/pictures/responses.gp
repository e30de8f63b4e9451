# The responses of the built-in filters, in a panel for those at 48 kHz and one for the others. A line of a filter's
# colour marks its cut-off, half of the lower rate between which and its own it is used.
#     gnuplot -e "data='FILE'; picture='FILE'"
load 'style.gp'
set terminal svg size 830,760 dynamic font 'sans-serif,14' background 'white'
set multiplot layout 2,1
set ylabel 'gain, dB'
set yrange [-110:10]
set ytics 20
mark(n, kilohertz) = sprintf("set arrow %d from first %s, graph 0 to first %s, graph 1 nohead dashtype 2 lw 1.5 lc rgb '%s'", \
    n, kilohertz, kilohertz, word('#1f5f99 #d9702b #3a8a4d #b23a48', n))
set title 'Built-in filters at 48 kHz; dashed: half of the lower rate'
set xrange [0:24]
set xtics 4
set xlabel 'frequency, kHz' offset 0,0.4
cutoffs = '4 6 8 12'
do for [i=1:4] { eval mark(i, word(cutoffs, i)) }
plot for [i=0:3] data index i using ($1/1000):2 with lines linestyle i+1 title columnheader(1)

unset arrow
set title 'Built-in filters at 16 and 24 kHz; dashed: half of the lower rate'
set xrange [0:12]
set xtics 2
eval mark(1, "4")
eval mark(3, "6")
plot for [i=0:2] data index 4+i using ($1/1000):2 with lines linestyle i+1 title columnheader(1)
unset multiplot
