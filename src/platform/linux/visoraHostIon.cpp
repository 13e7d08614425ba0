// Shareable memory: a DMA-BUF heap where one can be opened, else anonymous shared memory.
#include <fcntl.h>
#include <linux/dma-heap.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/visoraHostPlatform.h"

namespace
{

int allocateFromHeap(int heap, size_t len)
{
    dma_heap_allocation_data request{};
    request.len = len;
    request.fd_flags = O_RDWR | O_CLOEXEC;
    return ioctl(heap, DMA_HEAP_IOCTL_ALLOC, &request) == 0 ? static_cast<int>(request.fd) : -errno;
}

int allocateAnonymous(size_t len)
{
    const int fd = memfd_create("visora", MFD_CLOEXEC);
    if (fd < 0)
    {
        return -errno;
    }
    if (ftruncate(fd, static_cast<off_t>(len)) != 0)
    {
        const int error = errno;
        close(fd);
        return -error;
    }
    return fd;
}

// A heap is a character device; what ion_open falls back to is not.
bool isHeap(int fd)
{
    struct stat status
    {
    };
    return fstat(fd, &status) == 0 && S_ISCHR(status.st_mode) && status.st_rdev != 0;
}

}  // namespace

int ion_open(void)
{
    const int heap = open("/dev/dma_heap/system", O_RDONLY | O_CLOEXEC);
    if (heap >= 0)
    {
        return heap;
    }
    const int standIn = memfd_create("visora-ion", MFD_CLOEXEC);
    return standIn >= 0 ? standIn : -errno;
}

int ion_close(int fd)
{
    return close(fd) == 0 ? 0 : -errno;
}

int ion_alloc_fd(int fd, size_t len, size_t /*align*/, unsigned /*heap_mask*/, unsigned /*flags*/, int* handle_fd)
{
    if (len == 0 || !handle_fd)
    {
        return -EINVAL;
    }
    const int buffer = isHeap(fd) ? allocateFromHeap(fd, len) : allocateAnonymous(len);
    if (buffer < 0)
    {
        return buffer;
    }
    *handle_fd = buffer;
    return 0;
}
