#pragma once
// Unit conversions that the instrument formats share, with the rounding that keeps values readable.

namespace vemko {

/// 2^(timecents/1200) seconds; -12000 and below is 0. Above 24 s rounded to 0.1 s, above 2 s to 0.01 s.
float secondsFromTimecents(int timecents);
/// The amount that reads as these seconds; -12000 for 0 and for times too short to be told from it.
int timecentsFromSeconds(double seconds);

/// 8.176 x 2^(cents/1200) Hz; 13500 and above is 20000 Hz. Rounded to 10 Hz from 1000 Hz on, to 1 Hz from
/// 100 Hz on, else to 0.01 Hz.
float hertzFromAbsoluteCents(int cents);
/// The amount that reads as this frequency, -16000..13500.
int absoluteCentsFromHertz(double hertz);

/// Nearest integer, halves away from zero, within the bounds; the lower one for NaN.
int roundedWithin(double value, int minimum, int maximum);

}  // namespace vemko
