# Draws a chart of two outputs of vek_bench growth: gnuplot -c growth.gp SVG NAME DATA NAME DATA
set terminal svg size 1000,480 font "sans,12" background "white"
set output ARG1
set datafile separator "\t"
set logscale xy
set grid
set key outside bottom center maxcols 2
set format x "10^{%L}"
set format y "10^{%L}"
set ylabel "nanoseconds"
only(series, data) = sprintf("< grep '^%s\t' '%s'", series, data)
array data[2] = [ARG3, ARG5]
array names[2] = [ARG2, ARG4]
array series[5] = ["start-up, events", "start-up, measurements by pointer", \
                   "dateToIndex", "fetch, each record", "append"]
set multiplot layout 1,2
set xlabel "files full of records"
plot [1:1000] for [i=1:2] for [f=1:2] only(series[i], data[f]) using 2:3 \
    with linespoints lc i dt f pt i title series[i].", ".names[f]
set xlabel "records held"
plot [1e3:1e8] for [i=3:5] for [f=1:2] only(series[i], data[f]) using 2:3 \
    with linespoints lc i dt f pt i title series[i].", ".names[f]
