#include <gmock/gmock.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

// Every test program works in a temporary directory of its own below the build directory, removed
// at its end, and without the data directory of whoever runs it. What stands in the environment
// (TMPDIR that can't be written, ORVIXN_DIR that leads nowhere) has no say in the tests.
int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    unsetenv("ORVIXN_DIR");
    std::error_code error;
    std::filesystem::create_directories(ORVIX_TEST_DIRECTORY, error);
    std::string directory = ORVIX_TEST_DIRECTORY "/XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        std::perror(directory.c_str());
        return 1;
    }
    setenv("TMPDIR", directory.c_str(), 1);
    setenv("TEST_TMPDIR", directory.c_str(), 1);
    const int status = RUN_ALL_TESTS();
    std::filesystem::remove_all(directory, error);
    return status;
}
