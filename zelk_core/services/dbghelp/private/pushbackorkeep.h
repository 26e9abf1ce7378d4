// Growth that a host without memory does not turn into a loss.
#pragma once

#include <utility>
#include <zelk_core/generics/vector.h>

namespace Z4::Private {

/// Adds `element` at the end as PushBack() does. But where the host refuses memory, the vector stays as it is and takes
/// the next one again.
/// @return false when memory was refused.
template <class T>
bool PushBackOrKeep(Vector<T>& vector, const T& element) {
    if (vector.Size() < vector.Capacity()) {
        return vector.PushBack(element);
    }
    Vector<T> larger;
    if (!larger.Reserve(vector.Size() + vector.Size() / 2 + 1)) {
        return false;
    }
    larger.Append(vector.begin(), vector.end());
    larger.PushBack(element);
    vector = std::move(larger);
    return true;
}

} // namespace Z4::Private
