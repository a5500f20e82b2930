// Processor time, of all threads and of one.
#pragma once

#include <sys/resource.h>
#include <ctime>

// Seconds that the program has taken so far, on all processors.
inline double ProcessorSeconds() {
  rusage usage{};
  (void)::getrusage(RUSAGE_SELF, &usage);
  constexpr double kMicro = 1e-6;
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * kMicro;
}

// Seconds that the calling thread has taken so far.
inline double ThreadSeconds() {
  timespec used{};
  (void)::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  constexpr double kNano = 1e-9;
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * kNano;
}
