// Writes the settings of the directory given as argument 1 round after
// round until it is killed. Round r gives every key a value of its own that
// depends on r, so a reader can tell which round a file holds. A line on
// standard output follows every save, so the killer can aim amid the writes.
#include "exo/app/SettingsStore.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    exo::app::SettingsStore store;
    store.SetDirectory(argv[1]);
    const auto& settings = store.Settings();
    double round = settings->GetNumber("round").value_or(0);
    for (;;) {
        round += 1;
        settings->SetNumber("round", round);
        auto sub = settings->GetOrCreateSubList(std::string("sec\0tion", 8));
        sub->SetString(std::string("k\0ey", 4), "round " + std::to_string(round) +
                                                    std::string("\0!", 2));
        sub->SetNumber("third", round / 3);
        sub->SetBool("odd", std::fmod(round, 2) == 1);
        sub->SetNumber("inf", round > 0 ? HUGE_VAL : -HUGE_VAL);
        if (!store.Save())
            return 1;
        if (write(1, "s\n", 2) != 2)
            return 1;
    }
}
