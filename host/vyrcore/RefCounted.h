// Use-counted objects, held through boost::intrusive_ptr, and their weak
// references. Counts are atomic; everything else about these objects is
// single-threaded.
#pragma once

#include <atomic>
#include <utility>

#include <boost/intrusive_ptr.hpp>

namespace vyrcore::utility {

// An object whose lifetime is its use count: the last ReleaseUseCount
// deletes it. Copies start with a count of their own (zero).
class RefCountedObject {
public:
    void AddUseCount() const noexcept { mUseCount.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseUseCount() const noexcept
    {
        if (mUseCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    int GetUseCount() const noexcept { return mUseCount.load(std::memory_order_relaxed); }

protected:
    RefCountedObject() = default;
    RefCountedObject(const RefCountedObject&) noexcept {}
    RefCountedObject& operator=(const RefCountedObject&) noexcept { return *this; }
    virtual ~RefCountedObject() = default;

private:
    mutable std::atomic<int> mUseCount{0};
};

inline void intrusive_ptr_add_ref(const RefCountedObject* p) noexcept
{
    p->AddUseCount();
}
inline void intrusive_ptr_release(const RefCountedObject* p) noexcept
{
    p->ReleaseUseCount();
}

namespace detail {
// Shared by an object and its weak references: the use count lives here so
// that a weak reference can tell a dead object from a live one without
// touching it.
struct WeakControlBlock {
    std::atomic<int> useCount{0};
    // One for the object itself while it lives, plus one per weak reference.
    std::atomic<int> blockCount{1};

    bool TryAddUse() noexcept
    {
        int n = useCount.load(std::memory_order_relaxed);
        while (n > 0) {
            if (useCount.compare_exchange_weak(n, n + 1, std::memory_order_acq_rel))
                return true;
        }
        return false;
    }
    void AddBlockRef() noexcept { blockCount.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseBlockRef() noexcept
    {
        if (blockCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
};
} // namespace detail

// A use-counted object that weak references (WeakPtr) can observe.
class RefCountedObjectWithWeakPtr {
public:
    void AddUseCount() const noexcept
    {
        mBlock->useCount.fetch_add(1, std::memory_order_relaxed);
    }
    void ReleaseUseCount() const noexcept
    {
        if (mBlock->useCount.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        // Back to one use for the hook, so that what it runs may hold and
        // drop the object again.
        mBlock->useCount.store(1, std::memory_order_relaxed);
        const_cast<RefCountedObjectWithWeakPtr*>(this)->OnLastUse();
        if (mBlock->useCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    int GetUseCount() const noexcept { return mBlock->useCount.load(std::memory_order_relaxed); }

    detail::WeakControlBlock* WeakBlock() const noexcept { return mBlock; }

protected:
    // When the last use goes, before the object is deleted: the object is
    // still whole (virtual calls reach the most derived class, as they do not
    // from a base class destructor). A use taken here and still held on
    // return keeps the object alive; the hook runs again when that one goes.
    virtual void OnLastUse() noexcept {}

    RefCountedObjectWithWeakPtr() : mBlock(new detail::WeakControlBlock) {}
    RefCountedObjectWithWeakPtr(const RefCountedObjectWithWeakPtr&)
        : mBlock(new detail::WeakControlBlock)
    {
    }
    RefCountedObjectWithWeakPtr& operator=(const RefCountedObjectWithWeakPtr&) noexcept
    {
        return *this;
    }
    virtual ~RefCountedObjectWithWeakPtr() { mBlock->ReleaseBlockRef(); }

private:
    detail::WeakControlBlock* mBlock;
};

inline void intrusive_ptr_add_ref(const RefCountedObjectWithWeakPtr* p) noexcept
{
    p->AddUseCount();
}
inline void intrusive_ptr_release(const RefCountedObjectWithWeakPtr* p) noexcept
{
    p->ReleaseUseCount();
}

// A non-owning reference that knows when its object is gone. Lock() gives a
// use-counted pointer while the object lives, null after.
template <typename T>
class WeakPtr {
public:
    WeakPtr() = default;
    WeakPtr(T* object) { Reset(object); }
    WeakPtr(const boost::intrusive_ptr<T>& object) { Reset(object.get()); }
    WeakPtr(const WeakPtr& other) : mObject(other.mObject), mBlock(other.mBlock)
    {
        if (mBlock)
            mBlock->AddBlockRef();
    }
    WeakPtr(WeakPtr&& other) noexcept
        : mObject(std::exchange(other.mObject, nullptr)), mBlock(std::exchange(other.mBlock, nullptr))
    {
    }
    WeakPtr& operator=(WeakPtr other) noexcept
    {
        std::swap(mObject, other.mObject);
        std::swap(mBlock, other.mBlock);
        return *this;
    }
    ~WeakPtr()
    {
        if (mBlock)
            mBlock->ReleaseBlockRef();
    }

    void Reset(T* object = nullptr)
    {
        detail::WeakControlBlock* block = object ? object->WeakBlock() : nullptr;
        if (block)
            block->AddBlockRef();
        if (mBlock)
            mBlock->ReleaseBlockRef();
        mObject = object;
        mBlock = block;
    }

    boost::intrusive_ptr<T> Lock() const
    {
        if (mBlock && mBlock->TryAddUse())
            return boost::intrusive_ptr<T>(mObject, false);
        return {};
    }
    bool Expired() const { return !mBlock || mBlock->useCount.load() <= 0; }
    // The address observed, for identity tests only: it may be dangling.
    const void* Address() const { return mObject; }
    bool Refers(const T* object) const { return object && mObject == object && !Expired(); }

private:
    T* mObject = nullptr;
    detail::WeakControlBlock* mBlock = nullptr;
};

} // namespace vyrcore::utility
