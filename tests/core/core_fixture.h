// What tests of the core share: a working directory of their own, and everything given back at the end.
#pragma once

#include "apps/app_fixture.h"

#include "support/log.h"
#include "support/memory.h"
#include "surface/applique.h"
#include "surface/file_types.h"
#include "tnc/penpack.h"

class CoreFixture : public AppFixture {
protected:
    void SetUp() override {
        AppFixture::SetUp();
        std::filesystem::current_path(directory);
        live_before = mem_live();
    }
    // To be called when the image is closed.
    void TearDown() override {
        file_types_free();
        penpack_release_scratch();
        EXPECT_EQ(mem_live(), live_before);
        log_set_sink(nullptr, nullptr);
        stop_set_action(nullptr, nullptr);
        std::filesystem::current_path("/");
        AppFixture::TearDown();
    }

    // Null when there is no memory.
    static applique* color(double red, double green, double blue) {
        applique* a = applique_new();
        if (a == nullptr) return nullptr;
        a->is_color = 1;
        a->a0 = red;
        a->a1 = green;
        a->a2 = blue;
        return a;
    }

    long live_before = 0;
};
