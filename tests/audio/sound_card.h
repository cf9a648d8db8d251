// SPDX-License-Identifier: MIT
// The sound card of the stand-in for the sound library: what it is told to do, what it was asked, what it heard.
#pragma once

#include <string>
#include <vector>

#include "support/temp_dir.h"

using Lines = std::vector<std::string>;

class SoundCard {
  public:
    SoundCard();
    ~SoundCard();
    SoundCard(const SoundCard&) = delete;
    SoundCard& operator=(const SoundCard&) = delete;

    const std::string& directory() const { return directory_.path(); }
    // Faults, one a line, as stand_ins/sound_library.cpp has them. The card forgets what it was asked and heard.
    void tell(const std::string& script);

    Bytes heard() const;
    Lines calls() const;        // of the process that plays
    Lines trial_calls() const;  // of the one that tries whether the device opens
    // The calls of one function, arguments included.
    Lines calls_of(const std::string& function) const;

  private:
    TempDir directory_;
};

// One fault that the sound library can have.
struct SoundFault {
    std::string script;
    std::string step;  // that the program names
    int error;         // and its reason, an errno
};

// Each makes the device silent, at the latest in the third block of a file.
extern const std::vector<SoundFault> lasting_sound_faults;
// After each of them every block is heard all the same.
extern const std::vector<std::string> passing_sound_faults;

std::string told_of(const std::string& device, const SoundFault& fault);
