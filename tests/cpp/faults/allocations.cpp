#include "faults/allocations.hpp"

#include <cstdlib>
#include <new>

namespace faults {

namespace {

thread_local bool counting = false;
thread_local bool rest_fails = false;
thread_local bool failed = false;
thread_local std::size_t left = 0;
thread_local std::ptrdiff_t live = 0;

bool fails() noexcept {
    if (!counting) return false;
    if (failed && rest_fails) return true;
    if (left == 0 || --left > 0) return false;
    failed = true;
    return true;
}

void* counted(void* memory) noexcept {
    if (memory != nullptr) ++live;
    return memory;
}

}  // namespace

Allocations::Allocations(std::size_t failing, bool and_rest) noexcept {
    left = failing;
    rest_fails = and_rest;
    failed = false;
    counting = true;
}

Allocations::~Allocations() {
    counting = false;
}

bool Allocations::have_failed() noexcept {
    return failed;
}

std::ptrdiff_t live_allocations() noexcept {
    return live;
}

namespace {

void* get(std::size_t size) noexcept {
    return fails() ? nullptr : counted(std::malloc(size == 0 ? 1 : size));
}

void* get(std::size_t size, std::align_val_t alignment) noexcept {
    const auto step = static_cast<std::size_t>(alignment);
    return fails() ? nullptr : counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}

void* or_throw(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void give_back(void* memory) noexcept {
    if (memory != nullptr) --live;
    std::free(memory);
}

}  // namespace

}  // namespace faults

void* operator new(std::size_t size) {
    return faults::or_throw(faults::get(size));
}
void* operator new[](std::size_t size) {
    return faults::or_throw(faults::get(size));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return faults::get(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return faults::get(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return faults::or_throw(faults::get(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return faults::or_throw(faults::get(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment,
                   const std::nothrow_t& /*tag*/) noexcept {
    return faults::get(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& /*tag*/) noexcept {
    return faults::get(size, alignment);
}
void operator delete(void* memory) noexcept {
    faults::give_back(memory);
}
void operator delete[](void* memory) noexcept {
    faults::give_back(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    faults::give_back(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    faults::give_back(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    faults::give_back(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    faults::give_back(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    faults::give_back(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    faults::give_back(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    faults::give_back(memory);
}
void operator delete[](void* memory, std::size_t /*size*/,
                       std::align_val_t /*alignment*/) noexcept {
    faults::give_back(memory);
}
