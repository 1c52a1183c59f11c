// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// The declarations of Microsoft's Parallel Patterns Library that the STL's <future> needs for std::async, which this
// project does not use.

namespace Concurrency {
template<class Result> class task
{
public:
    void wait() {}
};
template<class Function> task<void> create_task(Function function)
{
    function();
    return {};
}
} // namespace Concurrency
