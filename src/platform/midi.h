// Standard MIDI files: how long their music takes.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace corvy::platform {

// Bytes that hasMidiSignature() looks at.
inline constexpr std::size_t kMidiSignatureLength = 24;

// Whether a file begins as a MIDI file does, alone or in a RIFF container.
bool hasMidiSignature(std::span<const std::byte> head);

// Seconds up to the end of the longest track, by the tempo of all tracks; of files of independent
// patterns, one after the other. What follows damage inside a track does not count. None when the
// bytes are no MIDI file.
std::optional<double> midiDuration(std::span<const std::byte> file);

}  // namespace corvy::platform
