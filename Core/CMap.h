#pragma once
#include <functional>
#include <map>
#include <set>

#include "Core/CPoolStdAllocator.h"

namespace orl {

// Ordered map and set whose nodes come from the pools. Walking is in key order.
template <class K, class V, class Less = std::less<K>>
using CMap = std::map<K, V, Less, CPoolStdAllocator<std::pair<const K, V>>>;

template <class K, class Less = std::less<K>>
using CSet = std::set<K, Less, CPoolStdAllocator<K>>;

}  // namespace orl
