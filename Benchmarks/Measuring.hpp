#pragma once

#include <string>
#include <vector>

namespace cobaltreel::benchmarks {

/// What one run of a program took.
struct ProcessFigures {
    double wallSeconds = 0;
    double cpuSeconds = 0;
    double peakMB = 0;  ///< largest resident size
    bool succeeded = false;
};

/// Runs a program to its end; its standard output is thrown away.
ProcessFigures measureProcess(const std::vector<std::string>& command);

/// The middle, the smallest and the largest of some figures.
struct Spread {
    double median = 0, least = 0, most = 0;
};
Spread spreadOf(std::vector<double> values);

}  // namespace cobaltreel::benchmarks
