# Gaussian maps of the Poisson law (method 1 and the vector form):
# laws/poisson_map_tables.inc.
xebruk_table_generator(poisson_map_tables "Regenerating laws/poisson_map_tables.inc")
