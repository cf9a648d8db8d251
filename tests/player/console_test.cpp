// SPDX-License-Identifier: MIT
// The console of a run that something ends. Each run is a process of its own on a pseudo-terminal.
#include "player/console.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>

#include "riff/fourcc.h"
#include "riff/riff_rescue.h"
#include "support/fatal_signals.h"
#include "support/pty.h"

namespace {

// With every signal at its default, no core dump, and the sanitizers' handlers out of the way.
void be_a_fresh_process(Pty& terminal) {
    for (const int signal : fatal_signals()) ::signal(signal, SIG_DFL);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    dup2(terminal.device(), STDIN_FILENO);
}

class Console : public testing::Test {
  protected:
    // The wait status of a process that does `action` in raw mode.
    int run(
        const std::function<void()>& action, const std::function<void()>& before = [] {}) {
        const pid_t child = fork();
        if (child == 0) {
            be_a_fresh_process(terminal);
            before();
            console_guard();
            console_enter();
            action();
            _exit(77);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return status;
    }

    bool is_raw() const { return (terminal.state().c_lflag & tcflag_t{ICANON | ECHO}) == 0; }
    void make_cooked() { terminal.set_state(found); }

    void expect_ended_by(int signal, int status) {
        EXPECT_TRUE(WIFSIGNALED(status)) << strsignal(signal);
        EXPECT_EQ(WTERMSIG(status), signal);
        expect_terminal_as_found(strsignal(signal));
    }

    void expect_terminal_as_found(const std::string& after) {
        EXPECT_TRUE(same_state(terminal.state(), found)) << after;
        make_cooked();
    }

    Pty terminal;
    const termios found = terminal.state();
};

}  // namespace

TEST_F(Console, EverySignalThatEndsAProgramPutsTheTerminalBackAndEndsIt) {
    EXPECT_GE(fatal_signals().size(), 22u);  // from SIGHUP to SIGSYS; the real-time ones besides
    for (const int signal : fatal_signals()) expect_ended_by(signal, run([signal] { raise(signal); }));
}

TEST_F(Console, SignalThatDoesNotEndAProgramIsLeftAlone) {
    for (const int signal : {SIGCHLD, SIGURG, SIGWINCH, SIGCONT}) {
        const int status = run([signal] { raise(signal); });
        EXPECT_TRUE(WIFEXITED(status)) << strsignal(signal);
        EXPECT_TRUE(is_raw()) << strsignal(signal);
        make_cooked();
    }
}

TEST_F(Console, ExitAndAbortPutTheTerminalBack) {
    EXPECT_EQ(WEXITSTATUS(run([] { exit(5); })), 5);
    expect_terminal_as_found("exit");
    expect_ended_by(SIGABRT, run([] { abort(); }));
}

namespace {

// Each call takes a page; the sum keeps the calls apart.
[[gnu::noinline]] int use_up_the_stack(int depth) {
    volatile char page[4096] = {};
    page[depth % 4096] = 1;
    return depth < 0 ? 0 : use_up_the_stack(depth + 1) + page[0];
}

volatile sig_atomic_t own_signals = 0;
void own_handler(int) {
    own_signals = own_signals + 1;
}

}  // namespace

TEST_F(Console, StackThatOverflowsPutsTheTerminalBack) {
    const int status = run([] { use_up_the_stack(0); },
                           [] {
                               const rlimit small = {1 << 20, 1 << 20};
                               setrlimit(RLIMIT_STACK, &small);
                           });
    expect_ended_by(SIGSEGV, status);
}

TEST_F(Console, IgnoredSignalStaysIgnored) {
    for (const int signal : {SIGHUP, SIGINT, SIGUSR1}) {
        const int status = run([signal] { raise(signal); }, [signal] { ::signal(signal, SIG_IGN); });
        EXPECT_TRUE(WIFEXITED(status)) << strsignal(signal);
        EXPECT_TRUE(is_raw());
        make_cooked();
    }
}

TEST_F(Console, HandlerOfSomebodyElseIsNeverUndone) {
    const auto raise_and_report = [] {
        raise(SIGUSR2);
        _exit(own_signals == 1 ? 3 : 4);
    };
    // Installed before the run, and in the middle of one.
    EXPECT_EQ(WEXITSTATUS(run(raise_and_report, [] { signal(SIGUSR2, own_handler); })), 3);
    EXPECT_EQ(WEXITSTATUS(run([&] {
                  signal(SIGUSR2, own_handler);
                  console_leave();
                  console_guard();
                  console_enter();
                  raise_and_report();
              })),
              3);
    make_cooked();
}

TEST_F(Console, SignalThatSomebodySetBackToItsDefaultIsGuardedFromTheNextFileOn) {
    const int status = run([] {
        console_leave();
        signal(SIGTERM, SIG_DFL);
        console_guard();
        console_enter();
        raise(SIGTERM);
    });
    expect_ended_by(SIGTERM, status);
}

TEST_F(Console, LeavePutsTheTerminalBackAndASignalStillEndsTheProgram) {
    const int status = run([] {
        console_leave();
        raise(SIGTERM);
    });
    expect_ended_by(SIGTERM, status);
}

TEST_F(Console, ForkedChildRescuesNothing) {
    for (const bool by_exit : {true, false}) {
        run([by_exit] {
            const pid_t child = fork();
            if (child == 0) {
                if (by_exit) exit(0);
                raise(SIGTERM);
            }
            waitpid(child, nullptr, 0);
        });
        EXPECT_TRUE(is_raw());
        make_cooked();
    }
}

TEST_F(Console, WaveFileIsRescuedAlongWithTheTerminal) {
    const TempDir directory;
    const std::string path = directory / "rec.wav";
    for (const bool by_exit : {true, false}) {
        write_file(path, {});
        run([&] {
            riff_rescue_begin(path.c_str(), fourcc("WAVE"), {1, 1, 8000, 0, 0, 16, 0});
            if (by_exit) exit(0);
            raise(SIGSEGV);
        });
        EXPECT_EQ(read_file(path).size(), 36u);
        make_cooked();
    }
}
