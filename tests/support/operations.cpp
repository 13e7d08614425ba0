#include "support/operations.h"

namespace visora::test
{

std::vector<Operation>& operations()
{
    static std::vector<Operation> list;
    return list;
}

Register::Register(std::initializer_list<Operation> list)
{
    operations().insert(operations().end(), list);
}

}  // namespace visora::test
