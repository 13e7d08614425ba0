// visora-info: what this machine offers to the library and what a mode makes of it. The same as `visora info`.
#include "info.h"

int main(int argc, char** argv)
{
    return tool::runProgram("visora-info",
                            [&]
                            {
                                CLI::App app(
                                    "Shows what this machine offers to Visora and which implementation serves each "
                                    "operation.");
                                tool::InfoOptions options;
                                tool::addInfoOptions(app, options);
                                app.set_version_flag("--version", tool::version());
                                CLI11_PARSE(app, argc, argv);
                                return tool::showInfo(options);
                            });
}
