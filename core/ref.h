#pragma once
// Intrusive reference counting for sources, sinks and other shared engine objects.
//
// The count is a plain 16-bit field in the object, not atomic: references to one object
// are taken and dropped only by the thread that owns it at that moment (a chain is handed
// to a worker before it starts and taken back after it ends). The holder that brings the
// count to 0 destroys the object through its virtual destructor.

#include <cstdint>
#include <type_traits>
#include <utility>

namespace osmera {

class LRefCounted {
  public:
    virtual ~LRefCounted() = default;
    LRefCounted(const LRefCounted&) = delete;
    LRefCounted& operator=(const LRefCounted&) = delete;

    uint16_t GetRefCount() const { return refCount; }
    void AddRef() { ++refCount; }
    // Drops one holder; destroys the object when it was the last.
    void Release() {
        if (--refCount == 0)
            delete this;
    }

  protected:
    LRefCounted() = default;

  private:
    uint16_t refCount = 0;
};

// Holder of an LRefCounted object. A default-constructed LRef holds nothing.
template <class T>
class LRef {
  public:
    LRef() = default;
    LRef(T* object) : p_(object) {  // NOLINT: implicit, like a pointer
        if (p_)
            p_->AddRef();
    }
    LRef(const LRef& other) : LRef(other.p_) {}
    LRef(LRef&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    LRef(const LRef<U>& other) : LRef(other.Get()) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    LRef(LRef<U>&& other) noexcept : p_(other.Detach()) {}
    ~LRef() { Reset(); }

    LRef& operator=(LRef other) noexcept {
        std::swap(p_, other.p_);
        return *this;
    }

    void Reset() {
        if (T* old = std::exchange(p_, nullptr))
            old->Release();
    }
    T* Get() const { return p_; }
    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    explicit operator bool() const { return p_ != nullptr; }

    // Gives up the holder's count without releasing it; the caller takes it over.
    T* Detach() { return std::exchange(p_, nullptr); }

  private:
    T* p_ = nullptr;
};

template <class T, class... Args>
LRef<T> MakeRef(Args&&... args) {
    return LRef<T>(new T(std::forward<Args>(args)...));
}

}  // namespace osmera
