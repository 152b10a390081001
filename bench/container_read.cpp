// Reads a film for bench/container.sh.
// usage: container_read FILM open | FILM index FOLDER | FILM all THREADS | FILM random|anew THREADS PLACES

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/container.h"

static CONTAINER_PTR open_film(const char* path, int threads, const char* index_folder) {
    CONTAINER_OPTIONS options;
    options.threads = threads;
    options.index_folder = index_folder;
    CONTAINER_PTR film = container_open(path, options);
    if (film) return film;
    fprintf(stderr, "%s does not open\n", path);
    exit(1);
}

/// Milliseconds of each of n reads at random places, sorted. anew: the film is opened and listed again for each.
static std::vector<double> random_reads(const char* path, int threads, int n, bool anew) {
    CONTAINER_PTR film = open_film(path, threads, "");
    std::vector<uint8_t> picture(container_picture_size(film.get()));
    std::minstd_rand random(11);
    std::vector<double> times;
    for (int i = 0; i < n; ++i) {
        const int64_t frame = int64_t(random() % uint64_t(container_info(film.get()).frames));
        const int64_t start = clock_ns();
        if (anew) film = open_film(path, threads, "");
        container_read_picture(film.get(), frame, picture.data());
        times.push_back(double(clock_ns() - start) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times;
}

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const char *path = argv[1], *job = argv[2];
    const int threads = argc > 3 ? atoi(argv[3]) : 1;
    if (strcmp(job, "open") == 0) {
        open_film(path, 1, "");
    } else if (strcmp(job, "index") == 0 && argc > 3) {
        open_film(path, 1, argv[3]);
    } else if (strcmp(job, "all") == 0) {
        const CONTAINER_PTR film = open_film(path, threads, "");
        std::vector<uint8_t> picture(container_picture_size(film.get()));
        for (int64_t n = 0; n < container_info(film.get()).frames; ++n)
            container_read_picture(film.get(), n, picture.data());
    } else {
        const bool anew = strcmp(job, "anew") == 0;
        const std::vector<double> t = random_reads(path, threads, argc > 4 ? std::max(atoi(argv[4]), 1) : 40, anew);
        printf("%-32s p50 %.0f ms, p95 %.0f ms\n",
               anew ? "random, opened for each:" : "random places:", t[t.size() / 2], t[t.size() * 95 / 100]);
    }
    return 0;
}
