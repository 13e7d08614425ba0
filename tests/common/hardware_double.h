// What stands in for hardware: processor descriptions, a DSP session, a report.
#ifndef VISORA_TESTS_COMMON_HARDWARE_DOUBLE_H
#define VISORA_TESTS_COMMON_HARDWARE_DOUBLE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace visora::test
{

/**
 * Runs the body in a forked child and expects it to pass there: the machine is looked at once per process, and modes,
 * tables and sessions are the process's.
 */
void inChild(const std::function<void()>& body);

/** Makes the text the processor description of this process; null leaves the file missing. */
void describeProcessor(const char* text);

/** Descriptions of a phone's processor and of one whose maker is on no list. */
constexpr char kPhone[] =
    "processor\t: 0\nBogoMIPS\t: 38.40\nFeatures\t: fp asimd evtstrm aes crc32 atomics fphp asimdhp\n"
    "CPU implementer\t: 0x51\nCPU architecture: 8\nCPU variant\t: 0xc\n\nHardware\t: Some board\n";
constexpr char kServer[] = "Features\t: fp asimd\nCPU implementer\t: 0x43\nCPU architecture: 8\n";

/** While it lives, a DSP session can be opened, or is refused. It notes the calls that it gets. */
class DspDouble
{
  public:
    DspDouble();
    ~DspDouble();
    DspDouble(const DspDouble&) = delete;
    DspDouble& operator=(const DspDouble&) = delete;

    bool refuses = false;
    /** Called when a session is opened. */
    std::function<void()> onOpen = [] {};

    /** "init <mode> <version> <domain>", "deinit <domain>"; taking them leaves none. */
    std::vector<std::string> takeCalls();

    int32_t init(int32_t mode, const char* version);
    int32_t deinit();
    int32_t mode = -1;
    int32_t deinitResult = 0;

  private:
    std::vector<std::string> calls_;
};

/** While it lives, the hardware report has these bits too. */
class ReportAlso
{
  public:
    explicit ReportAlso(uint32_t bits);
    ~ReportAlso();
    ReportAlso(const ReportAlso&) = delete;
    ReportAlso& operator=(const ReportAlso&) = delete;
};

/** While it lives, the platform-optimisation library is there: the program itself. */
class PlatformLibraryDouble
{
  public:
    PlatformLibraryDouble();
    ~PlatformLibraryDouble();
    PlatformLibraryDouble(const PlatformLibraryDouble&) = delete;
    PlatformLibraryDouble& operator=(const PlatformLibraryDouble&) = delete;

    int opened() const;
};

}  // namespace visora::test

#endif
