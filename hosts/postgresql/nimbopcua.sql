\echo Use "CREATE EXTENSION nimbopcua" to load this file. \quit

CREATE FUNCTION nimb.nimbopcua_handler() RETURNS fdw_handler
LANGUAGE C STRICT AS 'MODULE_PATHNAME';

CREATE FUNCTION nimb.nimbopcua_validator(options text[], catalog oid) RETURNS void
LANGUAGE C STRICT AS 'MODULE_PATHNAME';

CREATE FOREIGN DATA WRAPPER nimbopcua
HANDLER nimb.nimbopcua_handler VALIDATOR nimb.nimbopcua_validator;

CREATE FUNCTION nimb.browse(server text, node text)
RETURNS TABLE (name text, node text, class text)
LANGUAGE C STRICT VOLATILE PARALLEL UNSAFE AS 'MODULE_PATHNAME', 'nimbopcua_browse';
COMMENT ON FUNCTION nimb.browse(text, text) IS 'the nodes that a node consists of';

CREATE FUNCTION nimb.changes("table" regclass, after bigint)
RETURNS TABLE (seq bigint, source text, name text, node text, value text, status bigint,
               status_name text, source_time timestamptz, server_time timestamptz, lost bigint)
LANGUAGE C VOLATILE PARALLEL UNSAFE AS 'MODULE_PATHNAME', 'nimbopcua_changes';
COMMENT ON FUNCTION nimb.changes(regclass, bigint)
IS 'the changes of a table''s nodes above a number; forgets those up to it';

REVOKE EXECUTE ON ALL FUNCTIONS IN SCHEMA nimb FROM PUBLIC;
