#include "scene.h"
void build_room(scene*) {}
void build_chair(scene*) {}
