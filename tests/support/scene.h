// A picture like a photograph, for what depends on the contents of images.
#ifndef VISORA_TESTS_SUPPORT_SCENE_H
#define VISORA_TESTS_SUPPORT_SCENE_H

#include <cstddef>
#include <cstdint>

namespace visora::test
{

/**
 * Draws a gray scene, the same one every time: objects of all sizes that hide one another, each shaded and textured,
 * seen by a lens that blurs a little and a sensor that is a little noisy.
 */
void drawScene(uint8_t* pixels, uint32_t width, uint32_t height, size_t stride);

}  // namespace visora::test

#endif
