// The lens model of coordinate maps: a pixel of the corrected image is turned into the camera's frame and bent by the
// lens, radially by k1, k2, k3 and tangentially by p1, p2. In double precision, as a map is made once and its errors
// stay in every frame.
#ifndef VISORA_CPU_WARP_LENS_H
#define VISORA_CPU_WARP_LENS_H

#include <cstdint>

namespace visora
{

constexpr float kNoRotation[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

struct Lens
{
    Lens(const float* camera, const float* distortion, const float* fromCamera, const float* newCamera)
        : fx(camera[0]),
          cx(camera[2]),
          fy(camera[4]),
          cy(camera[5]),
          newFx(newCamera[0]),
          newCx(newCamera[2]),
          newFy(newCamera[4]),
          newCy(newCamera[5]),
          k1(distortion[0]),
          k2(distortion[1]),
          p1(distortion[2]),
          p2(distortion[3]),
          k3(distortion[4])
    {
        for (int i = 0; i < 9; ++i)
        {
            rotation[i] = fromCamera[i];
        }
    }

    double fx, cx, fy, cy;
    double newFx, newCx, newFy, newCy;
    double k1, k2, p1, p2, k3;
    double rotation[9];  // from the camera's frame; its transpose leads back
};

/** What a row of the map adds to each of its pixels' directions. */
struct LensRow
{
    LensRow(const Lens& lens, uint32_t row)
    {
        const double b = (row - lens.newCy) / lens.newFy;
        x = lens.rotation[3] * b + lens.rotation[6];
        y = lens.rotation[4] * b + lens.rotation[7];
        z = lens.rotation[5] * b + lens.rotation[8];
    }

    double x, y, z;
};

}  // namespace visora

#endif
