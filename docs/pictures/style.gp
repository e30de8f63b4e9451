# What the pictures have in common.
set terminal svg size 830,430 dynamic font 'sans-serif,14' background 'white'
set output picture
set border 3 linecolor rgb '#555555'
set tics nomirror
set grid linecolor rgb '#dddddd' linetype 1
set key noenhanced samplen 2 bmargin center horizontal spacing 1.4
set bmargin 5
set style line 1 linewidth 2 linecolor rgb '#1f5f99'
set style line 2 linewidth 2 linecolor rgb '#d9702b'
set style line 3 linewidth 2 linecolor rgb '#3a8a4d'
set style line 4 linewidth 2 linecolor rgb '#b23a48'
