#include "tests/bundle/child.h"

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <vector>

namespace velloid::test {

namespace {

constexpr auto PATIENCE = std::chrono::minutes(3);

struct Pipe {
    Pipe() {
        if (pipe(end.data()) != 0) ADD_FAILURE() << "no pipe: " << std::strerror(errno);
    }
    ~Pipe() {
        for (const int fd : end) {
            if (fd >= 0) close(fd);
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    std::array<int, 2> end{-1, -1};
};

// All that comes until the other side has closed; false when that does not happen in time.
bool readAll(int fd, std::string& text) {
    const auto until = std::chrono::steady_clock::now() + PATIENCE;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        pollfd wait{fd, POLLIN, 0};
        const int ready = left.count() > 0 ? poll(&wait, 1, static_cast<int>(left.count())) : 0;
        if (ready == 0) return false;
        if (ready < 0) continue; // interrupted
        std::array<char, 4096> block;
        const ssize_t n = read(fd, block.data(), block.size());
        if (n <= 0) return true;
        text.append(block.data(), static_cast<size_t>(n));
    }
}

std::string endOf(int status) {
    if (WIFEXITED(status)) return "exit status " + std::to_string(WEXITSTATUS(status));
    return std::string("signal ") + strsignal(WTERMSIG(status));
}

} // namespace

testing::AssertionResult scenarioEnds(std::initializer_list<std::string> arguments, int exitStatus,
                                      const std::string& program) {
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments);
    std::vector<char*> argv;
    std::string name;
    for (std::string& word : words) {
        if (!argv.empty()) name += (name.empty() ? "" : " ") + word;
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    Pipe errors;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, errors.end[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&files, errors.end[0]);
    posix_spawn_file_actions_addclose(&files, errors.end[1]);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP); // its own group: it may fork
    pid_t child = 0;
    const int refused = posix_spawn(&child, argv[0], &files, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (refused) return testing::AssertionFailure() << argv[0] << " does not start: " << std::strerror(refused);
    close(errors.end[1]);
    errors.end[1] = -1;

    std::string said;
    const bool ended = readAll(errors.end[0], said);
    if (!ended) kill(-child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!ended) return testing::AssertionFailure() << "'" << name << "' hangs; it said: " << said;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != exitStatus || !said.empty()) {
        return testing::AssertionFailure() << "'" << name << "' ends with " << endOf(status)
                                           << " instead of exit status " << exitStatus << "; it said: " << said;
    }
    return testing::AssertionSuccess();
}

} // namespace velloid::test
