// What each bench/*_bench.cpp registers.
#pragma once

namespace orbbench {

void register_blit_benchmarks();
void register_collision_benchmarks();
void register_crowd_benchmarks();
void register_format_benchmarks();
void register_frame_benchmarks();
void register_palette_benchmarks();
void register_present_benchmarks();
void register_raster_benchmarks();
void register_script_benchmarks();
void register_sort_benchmarks();

/// Draws every blit scenario once with every contender and compares the pictures with ours, so that
/// nobody is measured for drawing something else. Prints what differs; the number of differences.
int compare_pictures();
/// The same for the frames that all draw.
int compare_frames();

} // namespace orbbench
