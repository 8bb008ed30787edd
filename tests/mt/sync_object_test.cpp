#include <thread>

#include "test_support.hpp"

namespace {

double seconds_now() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec + now.tv_nsec / 1e9;
}

}  // namespace

TEST(SyncObject, NullObjectsFailAndFiringWakesTheWaiter) {
  EXPECT_EQ(-1, sync_object_lock(nullptr));
  EXPECT_EQ(-1, sync_object_unlock(nullptr));
  EXPECT_EQ(-1, sync_object_fire_event(nullptr));
  EXPECT_EQ(-1, sync_object_wait_for_event(nullptr, 10));
  sync_object_destroy(nullptr);

  sync_object* obj = sync_object_create();
  EXPECT_EQ(0, obj->monotonic);  // the condition and its deadlines are on the real-time clock
  bool fired = false;
  int status = -1;
  std::thread waiter([&] {
    sync_object_lock(obj);
    while (!fired && status != ETIMEDOUT) status = sync_object_wait_for_event(obj, 1000);
    sync_object_unlock(obj);
  });
  ASSERT_EQ(0, sync_object_lock(obj));
  fired = true;
  EXPECT_EQ(0, sync_object_fire_event(obj));
  EXPECT_EQ(0, sync_object_unlock(obj));
  waiter.join();
  EXPECT_NE(ETIMEDOUT, status);
  sync_object_destroy(obj);
}

TEST(SyncObject, DeadlinesAreExactUpToOneSecondAndWrapBeyond) {
  sync_object* obj = sync_object_create();
  sync_object_lock(obj);
  double start = seconds_now();
  EXPECT_EQ(ETIMEDOUT, sync_object_wait_for_event(obj, 1000));
  EXPECT_GE(seconds_now() - start, 0.95);

  // 3,000,000,000 ns do not fit in 32 bits: the deadline is invalid and the wait ends at once.
  start = seconds_now();
  EXPECT_EQ(EINVAL, sync_object_wait_for_event(obj, 3000));
  EXPECT_LT(seconds_now() - start, 2.0);
  sync_object_unlock(obj);
  sync_object_destroy(obj);
}

TEST(PthreadUtils, CondTimedwaitCarriesWholeSecondsAndLogsFailures) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t cond = PTHREAD_COND_INITIALIZER;
  pthread_mutex_lock(&mutex);
  testing::internal::CaptureStderr();
  double start = seconds_now();
  EXPECT_EQ(ETIMEDOUT, pthread_utils_cond_timedwait(&cond, &mutex, 2200));
  EXPECT_GE(seconds_now() - start, 2.1);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());

  testing::internal::CaptureStderr();
  EXPECT_EQ(EINVAL, pthread_utils_cond_timedwait(&cond, &mutex, -2000));
  std::string line = testing::internal::GetCapturedStderr();
  std::string expected = "] pthread_cond_timedwait() failed: status=22 (Invalid argument), timeout=-2000\n";
  EXPECT_EQ(expected, line.substr(line.size() - std::min(line.size(), expected.size())));
  pthread_mutex_unlock(&mutex);
}
