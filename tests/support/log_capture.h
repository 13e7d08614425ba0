// The test program's own log and properties, which take the place of the platform's.
#ifndef VISORA_TESTS_SUPPORT_LOG_CAPTURE_H
#define VISORA_TESTS_SUPPORT_LOG_CAPTURE_H

#include <ostream>
#include <string>
#include <vector>

namespace visora::test
{

struct LogLine
{
    int priority;
    std::string tag;
    std::string text;

    bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

using Lines = std::vector<LogLine>;

constexpr char kLibTag[] = "visora_lib_log";

/** Lines of the library's own. */
LogLine debugLine(const std::string& text);
LogLine errorLine(const std::string& text);

/** The lines that were logged since they were last taken. */
#define EXPECT_LOG(log, ...) EXPECT_EQ((visora::test::Lines{__VA_ARGS__}), (log).take())

/** Collects the log while it lives. Without one, lines go to standard error, where death tests look for them. */
class LogCapture
{
  public:
    /** Log calls return `result`. */
    explicit LogCapture(int result = 1);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** The lines so far; taking them leaves none. */
    Lines take();
    /** Those of the lines so far that contain the text; taking leaves none. */
    Lines takeWith(const std::string& text);
};

/** The line of a failed argument check. */
LogLine refusal(const std::string& entry, const std::string& condition);
/** The line of a failed range check. */
LogLine rangeRefusal(const std::string& entry);
/** The line that tells which kind serves a call. */
LogLine trace(const std::string& entry, const std::string& kind);

/** Gives a system property a value while it lives. */
class PropertyOverride
{
  public:
    PropertyOverride(const std::string& key, const std::string& value);
    ~PropertyOverride();
    PropertyOverride(const PropertyOverride&) = delete;
    PropertyOverride& operator=(const PropertyOverride&) = delete;

  private:
    std::string key_;
};

}  // namespace visora::test

#endif
