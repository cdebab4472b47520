#pragma once

// Functions of the column machine that are more than one arithmetic operation.

// A number in [0, 1) that depends on every bit of x; -0 and NaN count as 0.
double VM_rand(double x);

// Where x lies between low and high, 0 to 1, clamped; low == high: 0 below, 1 from there on. NaN stays NaN.
inline double VM_fit01(double x, double low, double high) {
    const double step = x < low ? 0.0 : x >= low ? 1.0 : x;
    const double t = (x - low) / (high - low);
    const double clamped = t < 0 ? 0.0 : t > 1 ? 1.0 : t;
    return low == high ? step : clamped;
}

// Coherent noise and its sums of octaves (UT_Noise with seed 0), in about [-1, 1] for one octave. Positions are rounded
// to float. `depth` + 1 octaves, each of twice the frequency and half the amplitude of the one before; at most 16, NaN
// counts as 0.
double VM_noise(double x, double y, double z);
double VM_turb(double x, double y, double z, double depth);
int VM_turbDepth(double depth);
