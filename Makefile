# Engine-testing frameworks (OpenBench among them) build an engine with
#
#     make EXE=NAME
#
# in its repository: a release build through CMake (the "engine" preset of
# CMakePresets.json, in build-make/), whose binary is copied to NAME here.
# "NAME bench" then prints the benchmark's "N nodes M nps" last.

EXE ?= orvo
BUILD ?= build-make
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all clean

all:
	cmake --preset engine -B $(BUILD) >/dev/null
	cmake --build $(BUILD) -j $(JOBS) --target orvo
	cp $(BUILD)/engine/orvo $(EXE)

clean:
	rm -rf $(BUILD)
