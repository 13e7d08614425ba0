// What the demo does with a photograph, one stage after another.
#ifndef VISORA_EXAMPLES_DEMO_STAGES_H
#define VISORA_EXAMPLES_DEMO_STAGES_H

#include <functional>
#include <string>
#include <vector>

#include "picture.h"
#include "visora/types.h"

namespace demo
{

struct Photograph
{
    Picture rgb;
    Picture gray;
    /** The frame that follows, empty when there is none. */
    Picture nextGray;
    /** The view from a little further right, empty when there is none. */
    Picture rightGray;
};

/** Times public calls and tells which implementation kind served them. */
class Runner
{
  public:
    Runner();
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /**
     * Runs the call a few times and notes its name, kind and best time, also for each of `amount` units. Throws when it
     * reports a failure.
     */
    void run(const std::string& what, size_t amount, const std::function<vsrStatus()>& call,
             const std::string& unit = "pixel");

  private:
    static int onLogLine(void* self, int priority, const char* tag, const char* text);

    std::string trace_;
};

struct Stage
{
    std::string title;
    /** Makes the stage's picture, an empty one when the photograph has nothing for it. */
    std::function<Picture(const Photograph&, Runner&)> make;
};

std::vector<Stage>& stages();

/** Adds stages to the list; meant for static objects. */
struct RegisterStages
{
    RegisterStages(std::initializer_list<Stage> list);
};

struct TitledPicture
{
    std::string title;
    Picture picture;
};

/** What is made of two photographs of one scene. */
using PairStage = std::function<std::vector<TitledPicture>(const Photograph&, const Photograph&, Runner&)>;

std::vector<PairStage>& pairStages();

struct RegisterPairStages
{
    RegisterPairStages(std::initializer_list<PairStage> list);
};

}  // namespace demo

#endif
