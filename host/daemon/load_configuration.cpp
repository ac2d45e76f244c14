#include "host/daemon/load_configuration.h"

namespace packetdb::host {

ConfigurationPlaces PlacesFor(const DaemonOptions& options) {
  ConfigurationPlaces places;
  if (options.config) {
    places.file = *options.config;
    places.must_exist = true;
  }
  return places;
}

Configuration LoadFor(const DaemonOptions& options) {
  Configuration configuration = LoadConfiguration(PlacesFor(options));
  Override(options, &configuration);
  return configuration;
}

}  // namespace packetdb::host
