-- What translated statements call. As in the company's database, every function gives null where an argument is
-- null, unless said otherwise, and never an empty text. Most are one expression, which PostgreSQL puts in the
-- place of the call. Counts and positions are double precision so that any number may stand for them; their
-- fractions are cut off. {words in braces} are replaced before this is run.

CREATE SCHEMA IF NOT EXISTS zelmor;

-- Which characters are letters, and what their other case is: by Unicode, where the database can tell.
DO $$
BEGIN
    CREATE COLLATION IF NOT EXISTS zelmor.letters (provider = icu, locale = 'und');
EXCEPTION WHEN OTHERS THEN
    BEGIN
        CREATE COLLATION zelmor.letters (provider = libc, locale = 'C.UTF-8');
    EXCEPTION WHEN OTHERS THEN
        CREATE COLLATION zelmor.letters FROM "C";
    END;
END $$;

-- Data errors -------------------------------------------------------------------------------------------------

CREATE OR REPLACE FUNCTION zelmor.ora_invalid_number(value text) RETURNS double precision
LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    RAISE EXCEPTION USING ERRCODE = '{state}', MESSAGE = format('{invalid_number}', value);
END $$;

CREATE OR REPLACE FUNCTION zelmor.ora_loop(path anyarray) RETURNS anyarray
LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    RAISE EXCEPTION USING ERRCODE = '{state}', MESSAGE = '{loop}';
END $$;

CREATE OR REPLACE FUNCTION zelmor.ora_too_long(value text) RETURNS text
LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    RAISE EXCEPTION USING ERRCODE = '{state}', MESSAGE = '{too_long}';
END $$;

-- Text --------------------------------------------------------------------------------------------------------

-- 1 and 0 are the first character, negative positions count from the end.
CREATE OR REPLACE FUNCTION zelmor.ora_substr(value text, start double precision) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT nullif(
        CASE WHEN $2 > -1 THEN substr($1, least(greatest(trunc($2), 1), 1e9)::int)
            WHEN -trunc($2) <= length($1) THEN right($1, -trunc($2)::int) END, '')
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_substr(value text, start double precision, length double precision)
RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT nullif(
        CASE WHEN $3 < 1 OR $3 IS NULL THEN NULL
            WHEN $2 > -1
                THEN substr($1, least(greatest(trunc($2), 1), 1e9)::int, least(trunc($3), 1e9)::int)
            WHEN -trunc($2) <= length($1)
                THEN left(right($1, -trunc($2)::int), least(trunc($3), 1e9)::int) END, '')
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_length(value text) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT length($1)::bigint
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_instr(value text, part text) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT strpos($1, $2)::bigint
$$;

-- A negative position searches backwards from there.
CREATE OR REPLACE FUNCTION zelmor.ora_instr(
    value text, part text, start double precision, occurrence double precision)
RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
DECLARE
    place double precision := trunc(start);
    missing double precision := trunc(occurrence);
    found int;
BEGIN
    IF missing < 1 OR place = 0 OR place > length(value) THEN
        RETURN 0;
    END IF;
    WHILE place > 0 LOOP
        found := strpos(substr(value, place::int), part);
        IF found = 0 THEN
            RETURN 0;
        ELSIF missing = 1 THEN
            RETURN place + found - 1;
        END IF;
        missing := missing - 1;
        place := place + found;
    END LOOP;
    place := place + length(value) + 1;
    WHILE place > 0 LOOP
        IF substr(value, place::int, length(part)) = part THEN
            IF missing = 1 THEN
                RETURN place;
            END IF;
            missing := missing - 1;
        END IF;
        place := place - 1;
    END LOOP;
    RETURN 0;
END $$;

CREATE OR REPLACE FUNCTION zelmor.ora_instr(value text, part text, start double precision) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT zelmor.ora_instr($1, $2, $3, 1)
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_upper(value text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT upper($1 COLLATE zelmor.letters)
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_lower(value text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT lower($1 COLLATE zelmor.letters)
$$;

-- The text, unless it is too long for one that an expression builds.
CREATE OR REPLACE FUNCTION zelmor.ora_built(value text) RETURNS text
LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    RETURN CASE WHEN octet_length(value) > {longest} THEN zelmor.ora_too_long(value) ELSE value END;
END $$;

CREATE OR REPLACE FUNCTION zelmor.ora_pattern(value text) RETURNS text
LANGUAGE plpgsql IMMUTABLE PARALLEL SAFE AS $$
BEGIN
    RETURN CASE WHEN length(value) > {longest_pattern} THEN zelmor.ora_too_long(value) ELSE value END;
END $$;

-- Where the result may be too long, its length is known before it is made.
CREATE OR REPLACE FUNCTION zelmor.ora_replace_longer(value text, part text, by text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
DECLARE
    times bigint;
BEGIN
    times := (octet_length(value) - octet_length(replace(value, part, ''))) / octet_length(part);
    RETURN CASE WHEN octet_length(value) + times * (octet_length(by) - octet_length(part)) > {longest}
        THEN zelmor.ora_too_long(value) ELSE replace(value, part, by) END;
END $$;

-- Nothing is replaced when `part` is null; null for `by` takes the part out.
CREATE OR REPLACE FUNCTION zelmor.ora_replace(value text, part text, by text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN octet_length($3) > octet_length($2) AND octet_length($2) > 0
            AND octet_length($1)::bigint * octet_length($3) > {longest}
        THEN zelmor.ora_replace_longer($1, $2, $3)
        ELSE nullif(replace($1, coalesce($2, ''), coalesce($3, '')), '') END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_replace(value text, part text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT nullif(replace($1, coalesce($2, ''), ''), '')
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_lpad(value text, length double precision, filling text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN $2 >= 1 THEN lpad($1, trunc(least($2, 4000))::int, $3) END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_rpad(value text, length double precision, filling text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN $2 >= 1 THEN rpad($1, trunc(least($2, 4000))::int, $3) END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_lpad(value text, length double precision) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT zelmor.ora_lpad($1, $2, ' ')
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_rpad(value text, length double precision) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT zelmor.ora_rpad($1, $2, ' ')
$$;

-- The texts that match a pattern lie between its plain beginning and that beginning followed by the last
-- character there is. Bounds, not values: they may be empty.
CREATE OR REPLACE FUNCTION zelmor.ora_like_low(pattern text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT split_part(split_part($1, '%', 1), '_', 1)
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_like_high(pattern text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT split_part(split_part($1, '%', 1), '_', 1) || chr(1114111)
$$;

-- Numbers -----------------------------------------------------------------------------------------------------

-- Half away from zero, of the number as its 15 digits read: those are what numeric takes over.
CREATE OR REPLACE FUNCTION zelmor.ora_round(value double precision, places double precision)
RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN abs($1) >= 1e15 OR $2 > 15 THEN $1
        WHEN $2 IS NOT NULL THEN round($1::numeric, greatest(trunc($2), -308)::int)::double precision END
$$;

-- Far from a half, the quick way gives the same.
CREATE OR REPLACE FUNCTION zelmor.ora_round(value double precision) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN abs($1) < 1e6 AND abs($1 - floor($1) - 0.5) > 1e-8 THEN round($1) + 0.0
        WHEN abs($1) >= 1e15 THEN $1
        ELSE round($1::numeric)::double precision END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_trunc(value double precision, places double precision)
RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN abs($1) >= 1e15 OR $2 > 15 THEN $1
        WHEN $2 IS NOT NULL THEN trunc($1::numeric, greatest(trunc($2), -308)::int)::double precision END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_trunc(value double precision) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT trunc($1::numeric)::double precision
$$;

-- mod(a, 0) is a; the sign is that of a.
CREATE OR REPLACE FUNCTION zelmor.ora_mod(value bigint, divisor bigint) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN $2 = 0 THEN $1 ELSE $1 % $2 END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_mod(value double precision, divisor double precision)
RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN $2 = 0 THEN $1 ELSE mod($1::numeric, $2::numeric)::double precision END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_sign(value double precision) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT sign($1)::bigint
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_ceil(value double precision) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT ceil($1)
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_floor(value double precision) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT floor($1)
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_power(value double precision, exponent double precision)
RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT power($1, $2)
$$;

-- Dates -------------------------------------------------------------------------------------------------------

-- Days as a length of time in whole seconds.
CREATE OR REPLACE FUNCTION zelmor.ora_days(days double precision) RETURNS interval
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT interval '1 second' * (sign($1) * floor(abs(86400 * $1) + 0.5))
$$;

-- The last day of a month stays the last day.
CREATE OR REPLACE FUNCTION zelmor.ora_add_months(value timestamp, months double precision) RETURNS timestamp
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN date_part('day', $1 + interval '1 day') = 1
        THEN $1 + interval '1 day' + make_interval(months => trunc($2)::int) - interval '1 day'
        ELSE $1 + make_interval(months => trunc($2)::int) END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_last_day(value timestamp) RETURNS timestamp
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT date_trunc('month', $1) + interval '1 month - 1 day' + $1::time
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_months_between(later timestamp, earlier timestamp)
RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT (date_part('year', $1) - date_part('year', $2)) * 12 + date_part('month', $1) - date_part('month', $2)
        + CASE WHEN date_part('day', $1) = date_part('day', $2)
                OR (date_part('day', $1 + interval '1 day') = 1 AND date_part('day', $2 + interval '1 day') = 1)
            THEN 0
            ELSE (date_part('day', $1) - date_part('day', $2)
                + date_part('epoch', $1::time - $2::time) / 86400) / 31 END
$$;

-- Conversions -------------------------------------------------------------------------------------------------

-- `pattern` finds the parts of the text and `fields` says what they are: Y y r year of four, fewer, two digits,
-- m month, M its name, d day, w name of the weekday, H h hour of 24 and of 12, n minute, s second, p half day. `mask` is for the message.
CREATE OR REPLACE FUNCTION zelmor.ora_to_date(value text, pattern text, fields text, mask text)
RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$
DECLARE
    parts CONSTANT text[] := regexp_match(value COLLATE zelmor.letters, pattern);
    part text;
    year int := -1;
    month int := -1;
    day int := 1;
    weekday int := -1;
    hour int := 0;
    minute int := 0;
    second int := 0;
    afternoon boolean := false;
    valid boolean := parts IS NOT NULL;
BEGIN
    FOR i IN 1 .. length(fields) LOOP
        part := parts[i];
        CONTINUE WHEN part IS NULL;
        CASE substr(fields, i, 1)
            WHEN 'Y' THEN year := part;
            WHEN 'y' THEN year := 2000 + part::int;
            WHEN 'r' THEN year := part::int + CASE WHEN part::int < 50 THEN 2000 ELSE 1900 END;
            WHEN 'm' THEN month := part;
            WHEN 'M' THEN month := CASE WHEN part LIKE '%月' THEN left(part, -1)::int
                ELSE strpos('janfebmaraprmayjunjulaugsepoctnovdec', lower(left(part, 3))) / 3 + 1 END;
            WHEN 'd' THEN day := part;
            WHEN 'w' THEN weekday := CASE WHEN part LIKE '星期%' THEN strpos('日一二三四五六', right(part, 1)) - 1
                ELSE strpos('sunmontuewedthufrisat', lower(left(part, 3))) / 3 END;
            WHEN 'H' THEN hour := part;
            WHEN 'h' THEN
                valid := valid AND part::int BETWEEN 1 AND 12;
                hour := part::int % 12;
            WHEN 'n' THEN minute := part;
            WHEN 's' THEN second := part;
            ELSE afternoon := lower(part) IN ('pm', '下午');
        END CASE;
    END LOOP;
    IF afternoon AND hour < 12 THEN
        hour := hour + 12;
    END IF;
    IF valid AND year >= 1 AND month BETWEEN 1 AND 12 AND day >= 1 AND hour < 24 AND minute < 60 AND second < 60
    THEN
        IF day <= date_part('day', make_date(year, month, 1) + interval '1 month - 1 day')
            AND weekday IN (-1, date_part('dow', make_date(year, month, 1) + (day - 1)))
        THEN
            RETURN make_timestamp(year, month, day, hour, minute, second);
        END IF;
    END IF;
    RAISE EXCEPTION USING ERRCODE = '{state}', MESSAGE = format('{invalid_date}', value, mask);
END $$;

-- to_char does not know half days, months and weekdays in Chinese, nor seconds of the day with leading zeros.
CREATE OR REPLACE FUNCTION zelmor.ora_date_text(value timestamp, format text) RETURNS text
LANGUAGE sql STABLE PARALLEL SAFE AS $$
    SELECT replace(replace(replace(replace(replace(to_char($1, $2),
        chr(57344), CASE WHEN date_part('hour', $1) < 12 THEN '上午' ELSE '下午' END),
        chr(57345), lpad(date_part('epoch', $1::time)::text, 5, '0')),
        chr(57346), rpad(date_part('month', $1) || '月', 3)),
        chr(57347), date_part('month', $1) || '月'),
        chr(57348), '星期' || substr('日一二三四五六', date_part('dow', $1)::int + 1, 1))
$$;

-- Plain digits, no zero before the point.
CREATE OR REPLACE FUNCTION zelmor.ora_number_text(value double precision) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT regexp_replace($1::numeric::text, '^(-?)0\.', '\1.')
$$;

-- `digits` before the point and `places` after it; # signs where the number does not fit. What is less than
-- nothing keeps its sign when nothing is left of it.
CREATE OR REPLACE FUNCTION zelmor.ora_number_text(
    value double precision, format text, digits int, places int, width int)
RETURNS text
LANGUAGE sql STABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN abs(round($1::numeric, $4)) >= power(10::numeric, $3) THEN repeat('#', $5)
        WHEN $1 < 0 AND round($1::numeric, $4) = 0 THEN regexp_replace(to_char(0, $2), ' ?([^ ]*)$', '-\1')
        ELSE to_char($1::numeric, $2) END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_to_number(value text) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN $1 ~ '^\s*[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)([eE][+-]?[0-9]{1,3})?\s*$' OR $1 IS NULL
        THEN $1::double precision ELSE zelmor.ora_invalid_number($1) END
$$;

CREATE OR REPLACE FUNCTION zelmor.ora_to_number_of_groups(value text) RETURNS double precision
LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT zelmor.ora_to_number(replace($1, ',', ''))
$$;

{extremes}
