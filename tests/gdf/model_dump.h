// Text dumps of what a GDF parse built, for tests that compare models verbatim.
#pragma once

#include <ostream>
#include <string>

#include "gdf/parse_to_grid.h"
#include "registry/asset_class_registry.h"
#include "registry/prop_registry.h"
#include "registry/root_registry.h"

// A grid with the registries a GDF text may need and a builder over them, in
// test mode, so that hierarchical entities with properties can be listed.
struct GdfModel {
  ZELT_Grid grid;
  ZELT_MeMPropRegistry props;
  ZELT_RootRegistry roots;
  ZELT_AssetClassRegistry asset_classes;
  ZELT_Grid_GDF_ParseToGrid builder{grid};

  GdfModel();
  // Parses text; returns what went to the standard error stream.
  std::string Parse(const std::string& text, bool* ok = nullptr, int* warnings = nullptr);
  // Every definition with its properties, entities, their properties and
  // connections (other end first), the hierarchical properties, the root and the
  // registered properties.
  std::string Dump();

 private:
  void DumpProperties(std::ostream& out);
};
