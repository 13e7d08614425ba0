#include "common/visoraEntry.h"

namespace visora
{

bool Buffer::isSound() const
{
    if (!data_)
    {
        return isOptional();
    }
    if (rowBytes_ == 0)
    {
        return mayBeEmpty();
    }
    return !(isImage() || isSet()) || (height_ != 0 && rowBytes_ <= UINT32_MAX && stride_ >= rowBytes_);
}

// Whether this output may begin where the other buffer does.
bool Buffer::mayBegin(const Buffer& other) const
{
    return inPlace_ == InPlace::Yes && other.role_ == Role::Input && other.elementBytes_ == elementBytes_ &&
           other.stride_ == stride_;
}

bool Buffers::areSound() const
{
    for (size_t i = 0; i < count_; ++i)
    {
        const Buffer& one = *buffers_[i];
        if (!one.isSound())
        {
            return false;
        }
        for (size_t j = 0; one.isWritten() && one.data_ && j < count_; ++j)
        {
            const Buffer& other = *buffers_[j];
            if (j != i && other.data_ == one.data_ && !other.isNumbers() && !one.mayBegin(other))
            {
                return false;
            }
        }
    }
    return true;
}

bool Buffers::suitDsp() const
{
    bool isFirst = true;
    for (size_t i = 0; i < count_; ++i)
    {
        const Buffer& one = *buffers_[i];
        if (!one.isImage() || one.isAbsent())
        {
            continue;
        }
        if (isFirst && !(worthOffload(one.stride_, one.height_) && multiplesOf<8>(one.width_)))
        {
            return false;
        }
        isFirst = false;
        if (!multiplesOf<8>(one.stride_) || !aligned<8>(one.data_))
        {
            return false;
        }
    }
    return true;
}

bool Buffers::suitGpu() const
{
    for (size_t i = 0; i < count_; ++i)
    {
        const Buffer& one = *buffers_[i];
        if (one.isImage() && !one.isAbsent() &&
            !(aligned<16>(one.data_) && multiplesOf<8>(one.stride_) && one.stride_ >= one.rowBytes_))
        {
            return false;
        }
    }
    return true;
}

}  // namespace visora
