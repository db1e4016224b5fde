// The scoped handle owners every layer uses: each kind gives its handle back
// exactly once, hands it over on move and release, and a selection guard puts
// back what the context held before.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

#include "platform/GdiSurface.h"
#include "platform/ScopedGdi.h"

namespace qorv {
namespace {

bool alive(gdi::HANDLE h) { return gdi::GetObjectType(h) != 0; }

gdi::HBITMAP newBitmap() { return gdi::CreateBitmapForOverwrite(4, 3); }
gdi::HDC newMemDC() { return gdi::CreateCompatibleDC(0); }

// One row per owner kind: how its handle is made and how it is owned.
struct OwnerCase {
  std::string name;
  std::function<gdi::HANDLE()> make;
  // Owns `h` for the length of the call, running `inside` meanwhile.
  std::function<void(gdi::HANDLE h, const std::function<void()>& inside)> own;
};

template <class Owner>
OwnerCase ownerCase(std::string name, std::function<gdi::HANDLE()> make) {
  return {std::move(name), std::move(make), [](gdi::HANDLE h, const std::function<void()>& inside) {
            const Owner owner(h);
            EXPECT_EQ(owner.get(), h);
            inside();
          }};
}

class ScopedOwners : public ::testing::TestWithParam<OwnerCase> {};

TEST_P(ScopedOwners, ReleaseTheHandleWhenTheScopeEnds) {
  const OwnerCase& c = GetParam();
  const gdi::HANDLE h = c.make();
  ASSERT_NE(h, 0u);
  c.own(h, [&] { EXPECT_TRUE(alive(h)); });
  EXPECT_FALSE(alive(h));
}

INSTANTIATE_TEST_SUITE_P(Kinds, ScopedOwners,
                         ::testing::Values(ownerCase<ScopedBitmap>("Bitmap", newBitmap),
                                           ownerCase<ScopedMemDC>("MemoryContext", newMemDC),
                                           ownerCase<ScopedWorkingDC>("WorkingImageContext", newMemDC)),
                         [](const auto& p) { return p.param.name; });

TEST(ScopedGdi, ReleaseHandsTheHandleOverWithoutDeletingIt) {
  gdi::HBITMAP kept = 0;
  {
    ScopedBitmap b(newBitmap());
    kept = b.release();
    EXPECT_EQ(b.get(), 0u);
    EXPECT_FALSE(b);
  }
  EXPECT_TRUE(alive(kept));
  EXPECT_TRUE(gdi::DeleteObject(kept));
}

TEST(ScopedGdi, MoveLeavesOneOwner) {
  const gdi::HBITMAP h = newBitmap();
  ScopedBitmap outer;
  {
    ScopedBitmap inner(h);
    outer = std::move(inner);
  }
  EXPECT_TRUE(alive(h)) << "the moved-from owner deleted the bitmap";
  ScopedBitmap constructed(std::move(outer));
  EXPECT_EQ(constructed.get(), h);
  constructed.reset();
  EXPECT_FALSE(alive(h));
}

TEST(ScopedGdi, ResetAndOutReleaseWhatWasHeld) {
  const gdi::HBITMAP first = newBitmap();
  const gdi::HBITMAP second = newBitmap();
  ScopedBitmap b(first);
  b.reset(first);  // the same handle again: kept, not deleted
  EXPECT_TRUE(alive(first));
  b.reset(second);
  EXPECT_FALSE(alive(first));
  gdi::HBITMAP& slot = b.out();
  EXPECT_FALSE(alive(second));
  EXPECT_EQ(slot, 0u);
  slot = newBitmap();
  const gdi::HBITMAP third = b.get();
  EXPECT_TRUE(alive(third));
  b.reset();
  EXPECT_FALSE(alive(third));
}

TEST(ScopedGdi, AHandleFreedElsewhereIsReleasedQuietly) {
  ScopedBitmap b(newBitmap());
  ASSERT_TRUE(gdi::DeleteObject(b.get()));
  b.reset();  // must neither crash nor throw
  EXPECT_FALSE(b);
}

TEST(ScopedScreenDC, GivesTheScreenContextBack) {
  gdi::HDC h = 0;
  {
    const ScopedScreenDC screen;
    ASSERT_TRUE(screen);
    h = screen.get();
    EXPECT_EQ(gdi::GetObjectType(h), gdi::OBJ_DC);
  }
  EXPECT_FALSE(alive(h));
  const ScopedScreenDC none(0xFFFFFFF0u);  // no such window
  EXPECT_FALSE(none);
}

TEST(ScopedSelect, PutsTheOriginalBackAfterSeveralSelections) {
  const ScopedMemDC dc(newMemDC());
  const gdi::HBITMAP stock = gdi::CurrentBitmap(dc.get());
  const ScopedBitmap a(newBitmap()), b(newBitmap());
  {
    ScopedSelect sel(dc.get(), a.get());
    ASSERT_TRUE(sel.ok());
    EXPECT_EQ(sel.original(), stock);
    EXPECT_EQ(sel.select(dc.get(), b.get()), a.get());
    EXPECT_EQ(gdi::CurrentBitmap(dc.get()), b.get());
    EXPECT_EQ(sel.original(), stock);
  }
  EXPECT_EQ(gdi::CurrentBitmap(dc.get()), stock);
}

TEST(ScopedSelect, RestoreIsOnceAndEarly) {
  const ScopedMemDC dc(newMemDC());
  const gdi::HBITMAP stock = gdi::CurrentBitmap(dc.get());
  const ScopedBitmap a(newBitmap());
  ScopedSelect sel(dc.get(), a.get());
  sel.restore();
  EXPECT_EQ(gdi::CurrentBitmap(dc.get()), stock);
  EXPECT_FALSE(sel.ok());
  // The bitmap is free again: it can be selected elsewhere while the guard lives.
  const ScopedMemDC other(newMemDC());
  const ScopedSelect there(other.get(), a.get());
  EXPECT_TRUE(there.ok());
}

TEST(ScopedSelect, AFailedSelectionRestoresNothing) {
  const ScopedMemDC holder(newMemDC()), dc(newMemDC());
  const ScopedBitmap a(newBitmap());
  const ScopedSelect held(holder.get(), a.get());
  ASSERT_TRUE(held.ok());
  const gdi::HBITMAP before = gdi::CurrentBitmap(dc.get());
  {
    const ScopedSelect sel(dc.get(), a.get());  // selected elsewhere: refused
    EXPECT_FALSE(sel.ok());
    const ScopedSelect noContext(0, a.get());
    EXPECT_FALSE(noContext.ok());
  }
  EXPECT_EQ(gdi::CurrentBitmap(dc.get()), before);
  EXPECT_EQ(gdi::CurrentBitmap(holder.get()), a.get());
}

}  // namespace
}  // namespace qorv
