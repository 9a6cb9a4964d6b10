# Draws docs/growth.svg from two tables of vek_bench growth: gnuplot -c growth.gp OUT NAME DATA NAME DATA
set terminal svg size 1000,460 font "sans,12" background "white"
set output ARG1
set datafile separator "\t"
set logscale xy
set grid
set key bottom right
set format x "10^{%L}"
set ylabel "nanoseconds"
set multiplot layout 1,2
names = "'start-up, events' 'start-up, measurements by pointer'"
set xlabel "files full of records"
plot for [i=1:2] for [f=0:1] (f ? ARG5 : ARG3) using 2:(strcol(1) eq word(names, i) ? column(3) : NaN) \
    with linespoints lc i dt f+1 pt i title word(names, i).", ".(f ? ARG4 : ARG2)
names = "'dateToIndex' 'fetch, each record' 'append'"
set xlabel "records held"
plot for [i=1:3] for [f=0:1] (f ? ARG5 : ARG3) using 2:(strcol(1) eq word(names, i) ? column(3) : NaN) \
    with linespoints lc i+2 dt f+1 pt i title word(names, i).", ".(f ? ARG4 : ARG2)
