# What the pictures have in common.
set terminal svg size 760,380 dynamic font 'sans-serif,13' background 'white'
set output picture
set border 3 linecolor rgb '#555555'
set tics nomirror
set grid linecolor rgb '#dddddd' linetype 1
set key samplen 2 noenhanced
set style line 1 linewidth 1.8 linecolor rgb '#1f5f99'
set style line 2 linewidth 1.8 linecolor rgb '#d9702b'
set style line 3 linewidth 1.8 linecolor rgb '#3a8a4d'
set style line 4 linewidth 1.8 linecolor rgb '#b23a48'
set style line 5 linewidth 1.8 linecolor rgb '#7b5ea7'
set style line 6 linewidth 1.8 linecolor rgb '#8a6d3b'
set style line 7 linewidth 1.8 linecolor rgb '#4d4d4d'
