// The version text.
#ifndef VISORA_COMMON_VERSION_H
#define VISORA_COMMON_VERSION_H

namespace visora
{

constexpr char kVersion[] = "1.7.1";

}  // namespace visora

#endif
