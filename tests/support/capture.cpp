// SPDX-License-Identifier: MIT
#include "support/capture.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

namespace {

// Turns one descriptor into an unnamed temporary file until `finish`.
class Redirect {
  public:
    explicit Redirect(int descriptor) : descriptor_(descriptor), saved_(dup(descriptor)), file_(tmpfile()) {
        EXPECT_NE(file_, nullptr);
        dup2(fileno(file_), descriptor_);
    }

    std::string finish() {
        dup2(saved_, descriptor_);
        close(saved_);
        std::string text;
        rewind(file_);
        for (int c = fgetc(file_); c != EOF; c = fgetc(file_)) text.push_back(static_cast<char>(c));
        fclose(file_);
        return text;
    }

  private:
    int descriptor_;
    int saved_;
    FILE* file_;
};

}  // namespace

Output output_of(const std::function<void()>& action) {
    fflush(nullptr);
    Redirect out(STDOUT_FILENO);
    Redirect err(STDERR_FILENO);
    action();
    fflush(nullptr);
    return {out.finish(), err.finish()};
}
