// Marks that this thread is inside a purge callback of the host, where no further purge begins.
#ifndef UP_PURGEGUARD_H
#define UP_PURGEGUARD_H

class Up_PurgeGuard {
  public:
    Up_PurgeGuard() { t_inside = true; }
    ~Up_PurgeGuard() { t_inside = false; }
    Up_PurgeGuard(const Up_PurgeGuard&) = delete;
    Up_PurgeGuard& operator=(const Up_PurgeGuard&) = delete;

    static bool IsInside() { return t_inside; }

  private:
    static constinit inline thread_local bool t_inside = false;
};

#endif
