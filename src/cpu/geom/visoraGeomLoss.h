// Losses of robust fits.
#ifndef VISORA_CPU_GEOM_LOSS_H
#define VISORA_CPU_GEOM_LOSS_H

#include <cmath>

#include "visora/camera.h"

namespace visora
{

struct Loss
{
    vsrLossType type;
    double s;

    /** Weight of a squared residual. */
    double weight(double square) const
    {
        switch (type)
        {
            case VISORA_LOSS_HUBER:
            {
                const double r = std::sqrt(square);
                return r <= s ? 1 : s / r;
            }
            case VISORA_LOSS_TUKEY:
            {
                const double q = 1 - square / (s * s);
                return q > 0 ? q * q : 0;
            }
            default:
                return 1;
        }
    }

    /** What a squared residual adds to the sum that is made least. */
    double cost(double square) const
    {
        switch (type)
        {
            case VISORA_LOSS_HUBER:
            {
                const double r = std::sqrt(square);
                return r <= s ? square : s * (2 * r - s);
            }
            case VISORA_LOSS_TUKEY:
            {
                const double q = 1 - square / (s * s);
                return q > 0 ? (s * s) * (1 - q * (q * q)) : s * s;
            }
            default:
                return square;
        }
    }
};

}  // namespace visora

#endif
