#pragma once

/// How a bound of a range is meant: hard bounds clamp every evaluated value, slider bounds only shape the interface.
enum class PRM_RangeKind { Slider = 1, Hard = 3 };

struct PRM_Range {
    PRM_RangeKind minKind = PRM_RangeKind::Slider;
    PRM_RangeKind maxKind = PRM_RangeKind::Slider;
    double min = 0;
    double max = 1;
};

inline constexpr PRM_Range PRMunitRange{PRM_RangeKind::Slider, PRM_RangeKind::Slider, 0, 1};

/// Hard minimum, slider maximum: the shape of most of the library's ranges.
constexpr PRM_Range PRMhardMin(double min, double sliderMax) {
    return {PRM_RangeKind::Hard, PRM_RangeKind::Slider, min, sliderMax};
}
