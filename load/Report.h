// What a run has shown, as a table, as JSON and as a picture.
#pragma once

#include <string>

#include "load/Mix.h"
#include "load/Options.h"
#include "load/Score.h"

namespace Load {

std::string TableOf(const Options& options, const Mix& mix, const Score& score);
std::string JsonOf(const Options& options, const Mix& mix, const Score& score);
// An SVG: rate and times over the seconds, and the percentiles of each call.
std::string PictureOf(const Options& options, const Mix& mix, const Score& score);

// The percentiles that all three show, as parts of the answers.
constexpr double kParts[] = {0.5, 0.9, 0.99, 0.999};

}  // namespace Load
