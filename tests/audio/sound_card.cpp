// SPDX-License-Identifier: MIT
#include "audio/sound_card.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>

namespace {

const std::string trial_mark = "trial: ";

Lines lines_of(const std::string& path) {
    Lines lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

bool starts_with(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

}  // namespace

SoundCard::SoundCard() {
    setenv("QUAVER_TEST_SOUND", directory_.path().c_str(), 1);
    tell("");
}

SoundCard::~SoundCard() {
    unsetenv("QUAVER_TEST_SOUND");
}

void SoundCard::tell(const std::string& script) {
    write_file(directory_ / "script", bytes_of(script));
    write_file(directory_ / "calls", {});
    write_file(directory_ / "heard", {});
}

Bytes SoundCard::heard() const {
    return read_file(directory_ / "heard");
}

Lines SoundCard::calls() const {
    Lines found;
    for (const std::string& line : lines_of(directory_ / "calls")) {
        if (!starts_with(line, trial_mark)) found.push_back(line);
    }
    return found;
}

Lines SoundCard::trial_calls() const {
    Lines found;
    for (const std::string& line : lines_of(directory_ / "calls")) {
        if (starts_with(line, trial_mark)) found.push_back(line.substr(trial_mark.size()));
    }
    return found;
}

Lines SoundCard::calls_of(const std::string& function) const {
    Lines found;
    for (const std::string& line : calls()) {
        if (line == function || starts_with(line, function + "(")) found.push_back(line);
    }
    return found;
}

// Numbers are those of Linux: -2 no such file, -4 interrupted, -5 input/output, -6 no such device or address, -11 try
// again, -12 no memory, -13 no right, -16 busy, -19 no such device, -22 invalid, -32 underrun, -77 in a wrong state,
// -86 suspended, -111 refused.
const std::vector<SoundFault> lasting_sound_faults = {
    {"snd_pcm_open 0 -2",                                                 "open",           ENOENT      },
    {"snd_pcm_open 0 -6",                                                 "open",           ENXIO       },
    {"snd_pcm_open 0 -12",                                                "open",           ENOMEM      },
    {"snd_pcm_open 0 -13",                                                "open",           EACCES      },
    {"snd_pcm_open 0 -16",                                                "open",           EBUSY       },
    {"snd_pcm_open 0 -111",                                               "open",           ECONNREFUSED},
    {"snd_pcm_open 0 -19",                                                "open",           ENODEV      },
    {"snd_pcm_open 0 crashes",                                            "open",           EIO         },
    {"snd_pcm_hw_params_malloc 0 -12",                                    "set parameters", ENOMEM      },
    {"snd_pcm_hw_params_any 0 -22",                                       "set parameters", EINVAL      },
    {"snd_pcm_hw_params_set_access 0 -22",                                "set parameters", EINVAL      },
    {"snd_pcm_hw_params_set_format 0 -22",                                "set parameters", EINVAL      },
    {"snd_pcm_hw_params_set_channels 0 -22",                              "set parameters", EINVAL      },
    {"snd_pcm_hw_params_set_rate 0 -22",                                  "set parameters", EINVAL      },
    {"snd_pcm_hw_params_set_period_size_near 0 -22",                      "set parameters", EINVAL      },
    {"snd_pcm_hw_params_set_buffer_size_near 0 -22",                      "set parameters", EINVAL      },
    {"snd_pcm_hw_params 0 -16",                                           "set parameters", EBUSY       },
    {"snd_pcm_hw_params 0 -19",                                           "set parameters", ENODEV      },
    {"snd_pcm_get_params 0 -5",                                           "set parameters", EIO         },
    {"snd_pcm_sw_params_malloc 0 -12",                                    "set parameters", ENOMEM      },
    {"snd_pcm_sw_params_current 0 -22",                                   "set parameters", EINVAL      },
    {"snd_pcm_sw_params_set_start_threshold 0 -22",                       "set parameters", EINVAL      },
    {"snd_pcm_sw_params_set_avail_min 0 -22",                             "set parameters", EINVAL      },
    {"snd_pcm_sw_params 0 -22",                                           "set parameters", EINVAL      },
    {"snd_pcm_prepare 0 -19",                                             "prepare",        ENODEV      },
    {"snd_pcm_prepare 0 -77",                                             "prepare",        EBADFD      },
    {"snd_pcm_writei 1 -19",                                              "play",           ENODEV      },
    {"snd_pcm_writei 3 -5",                                               "play",           EIO         },
    {"snd_pcm_writei 2 -32\nsnd_pcm_prepare 2 -19",                       "play",           ENODEV      },
    {"snd_pcm_writei 2 -77\nsnd_pcm_prepare 2 -77",                       "play",           EBADFD      },
    {"snd_pcm_writei 2 -86\nsnd_pcm_resume 1 -19\nsnd_pcm_prepare 2 -19", "play",           ENODEV      },
    {"snd_pcm_writei 2 -11\nsnd_pcm_wait 1 0",                            "play",           ETIMEDOUT   },
    {"snd_pcm_writei 2 -11\nsnd_pcm_wait 1 -19",                          "play",           ENODEV      },
    {"snd_pcm_avail 2 -19",                                               "play",           ENODEV      },
    {"snd_pcm_avail 2 -77",                                               "play",           EBADFD      },
    {"snd_pcm_wait 1 0",                                                  "play",           ETIMEDOUT   },
    {"snd_pcm_wait 1 -19",                                                "play",           ENODEV      },
    {"snd_pcm_wait 2 -5",                                                 "play",           EIO         },
    {"snd_pcm_drain 1 -19",                                               "drain",          ENODEV      },
    {"snd_pcm_drain 1 -5",                                                "drain",          EIO         },
    {"snd_pcm_drain 1 -77\nsnd_pcm_prepare 2 -77",                        "drain",          EBADFD      },
};

const std::vector<std::string> passing_sound_faults = {
    "",
    "snd_pcm_writei 1 -4",
    "snd_pcm_writei 5 -4\nsnd_pcm_writei 6 -4",
    "snd_pcm_writei 1 -32",
    "snd_pcm_writei 14 -32",
    "snd_pcm_writei 14 -32\nsnd_pcm_writei 15 -32\nsnd_pcm_writei 16 -32",
    "snd_pcm_writei 14 -77",
    "snd_pcm_writei 14 -86",
    "snd_pcm_writei 14 -86\nsnd_pcm_resume 1 -11\nsnd_pcm_resume 2 -11",
    "snd_pcm_writei 14 -86\nsnd_pcm_resume 1 -38",  // not every card can
    "snd_pcm_writei 14 -11",
    "snd_pcm_writei 14 0",
    "snd_pcm_writei 14 100",
    "snd_pcm_writei 14 1\nsnd_pcm_writei 15 158",
    "snd_pcm_writei 14 100\nsnd_pcm_writei 15 -32",
    "snd_pcm_writei 14 100\nsnd_pcm_writei 15 -4\nsnd_pcm_writei 16 30\nsnd_pcm_writei 17 -11",
    "snd_pcm_wait 1 -32",
    "snd_pcm_wait 1 -4",
    "snd_pcm_wait 2 -86",
    "snd_pcm_avail 14 -32",
    "snd_pcm_avail 14 -86",
    "snd_pcm_avail 14 -4",
    "snd_pcm_start 1 -32",
    "snd_pcm_drain 1 -32",
    "snd_pcm_drain 1 -77",
    "snd_pcm_drain 1 -86",
    "snd_pcm_drain 1 -4",
    "snd_pcm_drop 1 -77\nsnd_pcm_drain 1 -32",
    "snd_pcm_nonblock 0 -77",
};

std::string told_of(const std::string& device, const SoundFault& fault) {
    return "MCI: no sound on '" + device + "', " + fault.step + ": " + strerror(fault.error) + " !\n";
}
