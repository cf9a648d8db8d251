// SPDX-License-Identifier: MIT
// A stand-in for ALSA's library: a sound card in memory that is as fast as it is asked, and fails where it is told.
//
// QUAVER_TEST_SOUND names a directory:
//
//   script   one fault a line, "<call> <number> <result> [main]": what the call gives when it is made for that time,
//            counted from 1; 0 stands for every time. With "main" only in the process that loaded the library, not in
//            one that it forked. Two results are no numbers: "hangs" and "crashes".
//   calls    "loaded" and then every call is written there, those of a forked process with "trial: " in front
//   heard    every frame that the card took
//
// The card plays a block when it is waited for, and half a block when it is asked twice in a row how full it is. Every
// call prints on standard output and standard error what nobody may see.
#include <alsa/asoundlib.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

struct _snd_pcm_hw_params {
    snd_pcm_uframes_t period;
    snd_pcm_uframes_t buffer;
};

struct _snd_pcm_sw_params {
    snd_pcm_uframes_t start_threshold;
    snd_pcm_uframes_t avail_min;
};

struct _snd_pcm {
    _snd_pcm_hw_params hardware;
    _snd_pcm_sw_params software;
    snd_pcm_state_t state;
    snd_pcm_sframes_t queued;
};

namespace {

constexpr snd_pcm_sframes_t block_frames = 160;
constexpr std::size_t frame_bytes = 2;

const pid_t loaded_in = getpid();
std::map<std::string, int> times;
std::string last_call;

std::string path_of(const char* name) {
    const char* directory = getenv("QUAVER_TEST_SOUND");
    return std::string(directory != nullptr ? directory : "/nonexistent") + "/" + name;
}

void append(const char* name, const void* content, std::size_t count) {
    const int file = open(path_of(name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) return;
    if (write(file, content, count) < 0) abort();
    close(file);
}

void log(const std::string& call) {
    const std::string line = (getpid() == loaded_in ? "" : "trial: ") + call + "\n";
    append("calls", line.data(), line.size());
}

// Whether the script has a result for this call, made for the time `number`.
bool is_told(const std::string& call, int number, std::string* result) {
    std::ifstream script(path_of("script"));
    for (std::string line; std::getline(script, line);) {
        std::istringstream words(line);
        std::string name, where;
        int when = 0;
        words >> name >> when >> *result >> where;
        if (name != call || (when != 0 && when != number)) continue;
        if (where.empty() || getpid() == loaded_in) return true;
    }
    return false;
}

// Logs the call. True when the script gives `*result`.
bool fails(const char* call, long* result, const std::string& arguments = "") {
    log(call + arguments);
    std::printf("%s prints\n", call);
    std::fprintf(stderr, "ALSA lib %s complains\n", call);
    last_call = call;
    std::string text;
    if (!is_told(call, ++times[call], &text)) return false;
    if (text == "crashes") raise(SIGKILL);
    while (text == "hangs") pause();
    *result = std::stol(text);
    return true;
}

std::string with(long number) {
    return "(" + std::to_string(number) + ")";
}

// The first line of all, also when nothing is ever called.
const bool load_is_logged = (log("loaded"), true);

int simple(const char* call, const std::string& arguments = "") {
    long result = 0;
    return fails(call, &result, arguments) ? static_cast<int>(result) : 0;
}

void play(snd_pcm_t* pcm, snd_pcm_sframes_t count) {
    if (pcm->state != SND_PCM_STATE_RUNNING) return;
    pcm->queued = std::max<snd_pcm_sframes_t>(0, pcm->queued - count);
}

}  // namespace

extern "C" {

const char* snd_strerror(int error) {
    return strerror(-error);
}

int snd_lib_error_set_handler(snd_lib_error_handler_t handler) {
    log(handler != nullptr ? "snd_lib_error_set_handler" : "snd_lib_error_set_handler(none)");
    return 0;
}

int snd_config_update(void) {
    log("snd_config_update");
    return 0;
}

int snd_config_update_free_global(void) {
    log("snd_config_update_free_global");
    times.clear();
    return 0;
}

int snd_pcm_open(snd_pcm_t** pcm, const char* name, snd_pcm_stream_t stream, int mode) {
    const bool playback = stream == SND_PCM_STREAM_PLAYBACK && mode == SND_PCM_NONBLOCK;
    const std::string arguments = std::string("(") + name + (playback ? ")" : ", in another way)");
    const int result = simple("snd_pcm_open", arguments);
    if (result >= 0) {
        *pcm = new _snd_pcm{};
        (*pcm)->state = SND_PCM_STATE_OPEN;
    }
    return result;
}

int snd_pcm_close(snd_pcm_t* pcm) {
    const int result = simple("snd_pcm_close");
    delete pcm;
    return result;
}

int snd_pcm_nonblock(snd_pcm_t*, int nonblock) {
    return simple("snd_pcm_nonblock", with(nonblock));
}

int snd_pcm_hw_params_malloc(snd_pcm_hw_params_t** params) {
    const int result = simple("snd_pcm_hw_params_malloc");
    if (result >= 0) *params = new _snd_pcm_hw_params{};
    return result;
}

void snd_pcm_hw_params_free(snd_pcm_hw_params_t* params) {
    simple("snd_pcm_hw_params_free");
    delete params;
}

int snd_pcm_hw_params_any(snd_pcm_t*, snd_pcm_hw_params_t*) {
    return simple("snd_pcm_hw_params_any");
}

int snd_pcm_hw_params_set_access(snd_pcm_t*, snd_pcm_hw_params_t*, snd_pcm_access_t access) {
    return simple("snd_pcm_hw_params_set_access", with(access));
}

int snd_pcm_hw_params_set_format(snd_pcm_t*, snd_pcm_hw_params_t*, snd_pcm_format_t format) {
    return simple("snd_pcm_hw_params_set_format", with(format));
}

int snd_pcm_hw_params_set_channels(snd_pcm_t*, snd_pcm_hw_params_t*, unsigned count) {
    return simple("snd_pcm_hw_params_set_channels", with(count));
}

int snd_pcm_hw_params_set_rate(snd_pcm_t*, snd_pcm_hw_params_t*, unsigned rate, int direction) {
    return simple("snd_pcm_hw_params_set_rate", with(rate) + (direction == 0 ? "" : " and not exactly"));
}

int snd_pcm_hw_params_set_period_size_near(snd_pcm_t*, snd_pcm_hw_params_t* params, snd_pcm_uframes_t* count, int*) {
    params->period = *count;
    return simple("snd_pcm_hw_params_set_period_size_near", with(static_cast<long>(*count)));
}

int snd_pcm_hw_params_set_buffer_size_near(snd_pcm_t*, snd_pcm_hw_params_t* params, snd_pcm_uframes_t* count) {
    const int result = simple("snd_pcm_hw_params_set_buffer_size_near", with(static_cast<long>(*count)));
    if (const char* only = getenv("QUAVER_TEST_SOUND_BUFFER")) *count = std::stoul(only);
    params->buffer = *count;
    return result;
}

int snd_pcm_hw_params(snd_pcm_t* pcm, snd_pcm_hw_params_t* params) {
    const int result = simple("snd_pcm_hw_params");
    pcm->hardware = *params;
    pcm->state = SND_PCM_STATE_PREPARED;
    return result;
}

int snd_pcm_get_params(snd_pcm_t* pcm, snd_pcm_uframes_t* buffer, snd_pcm_uframes_t* period) {
    *buffer = pcm->hardware.buffer;
    *period = pcm->hardware.period;
    return simple("snd_pcm_get_params");
}

int snd_pcm_sw_params_malloc(snd_pcm_sw_params_t** params) {
    const int result = simple("snd_pcm_sw_params_malloc");
    if (result >= 0) *params = new _snd_pcm_sw_params{};
    return result;
}

void snd_pcm_sw_params_free(snd_pcm_sw_params_t* params) {
    simple("snd_pcm_sw_params_free");
    delete params;
}

int snd_pcm_sw_params_current(snd_pcm_t*, snd_pcm_sw_params_t*) {
    return simple("snd_pcm_sw_params_current");
}

int snd_pcm_sw_params_set_start_threshold(snd_pcm_t*, snd_pcm_sw_params_t* params, snd_pcm_uframes_t count) {
    params->start_threshold = count;
    return simple("snd_pcm_sw_params_set_start_threshold", with(static_cast<long>(count)));
}

int snd_pcm_sw_params_set_avail_min(snd_pcm_t*, snd_pcm_sw_params_t* params, snd_pcm_uframes_t count) {
    params->avail_min = count;
    return simple("snd_pcm_sw_params_set_avail_min", with(static_cast<long>(count)));
}

int snd_pcm_sw_params(snd_pcm_t* pcm, snd_pcm_sw_params_t* params) {
    pcm->software = *params;
    return simple("snd_pcm_sw_params");
}

int snd_pcm_prepare(snd_pcm_t* pcm) {
    const int result = simple("snd_pcm_prepare");
    if (result < 0) return result;
    pcm->state = SND_PCM_STATE_PREPARED;
    pcm->queued = 0;
    return result;
}

int snd_pcm_start(snd_pcm_t* pcm) {
    const int result = simple("snd_pcm_start");
    if (result >= 0) pcm->state = SND_PCM_STATE_RUNNING;
    return result;
}

snd_pcm_state_t snd_pcm_state(snd_pcm_t* pcm) {
    simple("snd_pcm_state");
    return pcm->state;
}

// A scripted result above zero is how many frames are taken at most.
snd_pcm_sframes_t snd_pcm_writei(snd_pcm_t* pcm, const void* samples, snd_pcm_uframes_t count) {
    auto taken = std::min(static_cast<snd_pcm_sframes_t>(count),
                          static_cast<snd_pcm_sframes_t>(pcm->hardware.buffer) - pcm->queued);
    long told = 0;
    if (fails("snd_pcm_writei", &told, with(static_cast<long>(count)))) {
        if (told <= 0) return told;
        taken = std::min<snd_pcm_sframes_t>(taken, told);
    }
    if (pcm->state != SND_PCM_STATE_PREPARED && pcm->state != SND_PCM_STATE_RUNNING) return -EBADFD;
    if (taken == 0) return -EAGAIN;
    pcm->queued += taken;
    append("heard", samples, static_cast<std::size_t>(taken) * frame_bytes);
    if (pcm->queued >= static_cast<snd_pcm_sframes_t>(pcm->software.start_threshold)) {
        pcm->state = SND_PCM_STATE_RUNNING;
    }
    return taken;
}

int snd_pcm_wait(snd_pcm_t* pcm, int timeout_ms) {
    long result = 1;
    if (fails("snd_pcm_wait", &result, with(timeout_ms))) return static_cast<int>(result);
    if (pcm->state != SND_PCM_STATE_RUNNING) return 0;
    play(pcm, block_frames);
    return 1;
}

snd_pcm_sframes_t snd_pcm_avail(snd_pcm_t* pcm) {
    const bool again = last_call == "snd_pcm_avail";
    long result = 0;
    if (fails("snd_pcm_avail", &result)) return result;
    if (again) play(pcm, block_frames / 2);
    return static_cast<snd_pcm_sframes_t>(pcm->hardware.buffer) - pcm->queued;
}

int snd_pcm_resume(snd_pcm_t*) {
    return simple("snd_pcm_resume");
}

int snd_pcm_drain(snd_pcm_t* pcm) {
    const int result = simple("snd_pcm_drain", with(pcm->queued));
    if (result < 0) return result;
    pcm->queued = 0;
    pcm->state = SND_PCM_STATE_SETUP;
    return result;
}

int snd_pcm_drop(snd_pcm_t* pcm) {
    const int result = simple("snd_pcm_drop");
    pcm->queued = 0;
    pcm->state = SND_PCM_STATE_SETUP;
    return result;
}

}  // extern "C"
